/// A host that brings a job into a state and then leaves its process in some way, with status 7.
/// Usage: exit_host STATE WAY [FILE...]. See exit_test.sh for what there is.
#include <atomic>
#include <csignal>
#include <semaphore>

#include "Cirrus/platform/http/TestServer.h"
#include <Cirrus/Cirrus.h>
#include <Cirrus/emulator/Emulator.h>

using namespace cirrus;
using Clock = std::chrono::steady_clock;
using Files = std::vector<std::filesystem::path>;

static std::string state;
static std::vector<ShareController*>& jobs = *new std::vector<ShareController*>; // reachable
static std::atomic<bool> exitsFromLog = false;
static std::atomic<bool> isOver = false;
static Clock::time_point leftAt;
static std::binary_semaphore isReached(0);
static std::binary_semaphore mayGoOn(0);
static std::binary_semaphore hasEnded(0); ///< the thread of the step
static std::atomic<bool> isInStep = false;

static void require(bool holds) {
    holds ? void() : std::abort();
}

[[noreturn]] static void leave() {
    leftAt = Clock::now();
    std::exit(7);
}

/// Holds up the step that reads a file, if that is the state.
static void hear(LogLevel, const LogPlace& place, const std::string&) {
    require(!isOver);
    if (exitsFromLog && place.function == "createRootDirectory()") {
        leave();
    } else if (isInStep && place.function == "uploadContent(of:to:completion:)") {
        thread_local const std::shared_ptr<void> end(nullptr, [](auto) { hasEnded.release(); });
        isInStep = false;
        isReached.release();
        mayGoOn.acquire();
    }
}

/// Never answers the request that the state is about.
static std::optional<emulator::Answer> answerInstead(const emulator::Request& request) {
    const auto* query = request.queryItem("q");
    const auto* length = request.header("Content-Length");
    const bool isLarge = length != nullptr && length->size() > 6;
    if (!isLarge && !(state.starts_with("answer") && query && query->ends_with("'A'"))) {
        return std::nullopt;
    }
    isReached.release();
    return emulator::Answer{.delay = emulator::endlessDelay};
}

static void start(const char* name, const Files& files, const std::function<void(bool)>& act) {
    jobs.push_back(new ShareController({files, name, "Destination"}, "token"));
    jobs.back()->upload([](const auto&) { require(!isOver); },
                        [=](const auto& result) { require(!isOver), act(result.has_value()); });
}

static void reachState(const Files& files) {
    if (state == "idle") {
        return;
    }
    start("A", files, [](bool isShared) {
        require(isShared && state == "done");
        MainQueue::stop();
    });
    if (state == "done") {
        MainQueue::run();
    } else if (state == "world") {
        // Until a name is looked up or a connection made, neither of which a child may inherit.
        while (std::system("grep -qE ':(0035|01BB) ' /proc/net/udp /proc/net/tcp") != 0) {
        }
        require(std::system("./nothing_is_inherited") == 0);
    } else if (state != "started") {
        isReached.acquire();
    }
    if (state == "step") {
        std::atexit([] { mayGoOn.release(); });
    }
    if (state == "answer cancelled") {
        jobs.back()->cancel();
    }
}

int main(int count, char** arguments) {
    state = arguments[1];
    const std::string_view way = arguments[2];
    const Files files(arguments + 3, arguments + count);
    std::signal(SIGPIPE, SIG_DFL);
    // Goes before the exit handlers of OpenSSL run, which come with its start.
    static const auto drive =
        state == "world" ? nullptr : emulator::Emulator::start({.accessToken = "token"}).value();
    // Exit handlers run in reverse: first the one that lets a step go on, last this one. The
    // library's own, made with its first request, is between them.
    std::atexit([] {
        isOver = true;
        if (state == "stuck") { // for longer than the library waits
            mayGoOn.release();
            hasEnded.acquire();
        } else {
            require(Clock::now() - leftAt < std::chrono::milliseconds(1500));
        }
    });
    if (drive) {
        drive->setHeadHook(answerInstead);
        connectToTestServer(TestServer{drive->port(), drive->certificateAuthority(), {}});
    }
    Configuration::setLog(makeLogSink(hear));
    isInStep = state == "step" || state == "stuck";
    MainQueue::setWakeUp([] { require(state != "stuck"); });
    if (way == "completion") {
        start("B", {}, [&](bool) {
            reachState(files);
            leave();
        });
        MainQueue::run();
    }
    reachState(files);
    if (way == "log") {
        exitsFromLog = true;
        start("B", {}, {});
        isReached.acquire();
    } else if (way == "exit") {
        leave();
    } else if (way == "return" && !jobs.empty()) {
        delete jobs.back();
    }
    leftAt = Clock::now();
    return 7;
}
