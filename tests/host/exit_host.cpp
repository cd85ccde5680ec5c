/// A host that brings a job into a state and then leaves its process in some way, with status 7.
/// Usage: exit_host STATE WAY [FILE...]. See exit_test.sh for what there is.
#include <poll.h>

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
static ShareController* job = nullptr;
static ShareController* volatile other = nullptr; // keeps it reachable
static std::atomic<bool> exitsFromLog = false;
static std::atomic<bool> isOver = false;
static Clock::time_point leftAt;
static std::counting_semaphore isReached(0);
static std::binary_semaphore mayGoOn(0);

static void require(bool holds) {
    holds ? void() : std::abort();
}

[[noreturn]] static void leave() {
    leftAt = Clock::now();
    std::exit(7);
}

static void hear(LogLevel level, const LogPlace& place, const std::string&) {
    static int items = 0;
    require(!isOver);
    if (level != LogLevel::detail) {
        return;
    }
    if (exitsFromLog && place.function == "createRootDirectory()") {
        leave();
    } else if (state == "step" && place.function == "uploadNextItem()" && ++items == 2) {
        isReached.release();
        mayGoOn.acquire();
    }
}

/// Never answers the request that the state is about, nor the upload of the file "trigger".
static std::optional<emulator::Answer> answerInstead(const emulator::Request& request) {
    const auto* query = request.queryItem("q");
    const auto* length = request.header("Content-Length");
    const bool isLarge = length != nullptr && length->size() > 6;
    if ((state.starts_with("answer") && query != nullptr && query->ends_with("'A'")) || isLarge) {
        isReached.release();
    } else if (length == nullptr || *length != "8") {
        return std::nullopt;
    }
    return state == "reset" && isLarge ? hangUp(emulator::Ending::reset)
                                       : emulator::Answer{.delay = emulator::endlessDelay};
}

static ShareController* start(const char* name, const Files& files,
                              const std::function<void(bool)>& act) {
    ShareController::Context context(files, name, "Destination");
    auto* const controller = new ShareController(std::move(context), "token");
    controller->upload([=](const auto&) { require(!isOver), name[0] == 'B' ? act(true) : void(); },
                       [=](const auto& result) { require(!isOver), act(result.has_value()); });
    return controller;
}

static void reachState(const Files& files) {
    if (state == "idle") {
        return;
    }
    job = start("A", files, [](bool isShared) {
        require(isShared == (state == "done"));
        MainQueue::stop();
    });
    if (state == "queued") {
        MainQueue::setWakeUp([] { isReached.release(); });
        isReached.acquire();
    } else if (state == "done" || state == "reset") {
        MainQueue::run();
    } else if (state == "world") {
        // Until a name is looked up or a connection made, neither of which a child may inherit.
        while (std::system("grep -qE ':(0035|01BB) ' /proc/net/udp /proc/net/tcp") != 0) {
        }
        require(std::system("./nothing_is_inherited") == 0);
    } else if (state != "started") {
        isReached.acquire();
    }
    std::atexit([] { mayGoOn.release(); });
    if (state == "answer cancelled") {
        job->cancel();
    }
}

int main(int count, char** arguments) {
    state = arguments[1];
    const std::string_view way = arguments[2];
    const Files files(arguments + 3, arguments + count);
    std::signal(SIGPIPE, SIG_DFL);
    static const auto drive =
        state == "world" ? nullptr : emulator::Emulator::start({.accessToken = "token"}).value();
    // Exit handlers run in reverse: first the one that lets a step go on, last this one. The
    // library's own, made with its first request, is between them.
    std::atexit([] {
        isOver = true;
        require(Clock::now() - leftAt < std::chrono::milliseconds(1500));
    });
    if (drive) {
        drive->setHeadHook(answerInstead);
        connectToTestServer(TestServer{drive->port(), drive->certificateAuthority(), {}});
    }
    Configuration::setLog(makeLogSink(hear));
    if (way == "completion" || way == "progress") {
        other = start("B", way == "progress" ? Files{"trigger"} : Files{}, [&](bool) {
            reachState(files);
            leave();
        });
        MainQueue::run();
    }
    reachState(files);
    if (way == "log") {
        exitsFromLog = true;
        other = start("B", {}, {});
        isReached.acquire();
    } else if (way == "exit") {
        leave();
    } else if (way == "return") {
        delete job;
    }
    leftAt = Clock::now();
    return 7;
}
