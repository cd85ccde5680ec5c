// Random jobs under a host that interferes at random moments: it uploads again, cancels and
// replaces the log from several threads, and releases the job on the main thread. The journal of
// what happened is then held against the rules of the interface.

#include <algorithm>
#include <deque>
#include <iostream>
#include <map>
#include <random>
#include <shared_mutex>

#include <Cirrus/Cirrus.h>
#include <Cirrus/emulator/LocalDrive.h>

#include "Cirrus/ShareJob.h"
#include "Cirrus/platform/http/HttpSession.h"
#include "Cirrus/platform/threads/LibraryThread.h"
#include "Cirrus/platform/threads/TaskQueue.h"
#include "Cirrus/webservice/GoogleWebservice.h"
#include "tests/support/ScriptedWebservice.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/Waiting.h"

namespace cirrus::tests {

namespace {

const auto mainThread = std::this_thread::get_id();
thread_local bool isInHostCall = false;

/// Runs tasks one after another, on a thread as the library has them.
struct Worker {
    TaskQueue tasks;
    LibraryThread thread{[this] {
        while (const auto task = tasks.wait()) {
            task();
        }
    }};
};

std::deque<Worker> threads;

enum class Kind {
    uploadBegins,
    uploadEnds,
    cancelEnds,
    releaseBegins,
    progress,
    result,
    capturesReleased,
};

/// Something that happened; `pair` numbers the callbacks of one `upload`.
struct Event {
    Kind kind;
    std::size_t pair;
    bool isOnMainThread;
    bool isInHostCall;

    [[nodiscard]] bool isCallback() const { return kind == Kind::progress || kind == Kind::result; }
};

class Schedule {
public:
    explicit Schedule(std::size_t seed) : random_(static_cast<unsigned>(seed)) {}

    /// Runs a job to its end and returns the rule that was broken, if any. Without a service, a
    /// scripted one answers on random threads.
    std::string run(std::shared_ptr<Webservice> service) {
        if (!service) {
            service = std::make_shared<ScriptedWebservice>([this](auto request) {
                onSomeThread([this, request = std::move(request)] { answer(request); });
            });
        }
        const auto file = folder_.write("file", "12");
        job_ = std::make_shared<ShareJob>(
            ShareJob::Context({file, isOneIn(4) ? folder_.path() / "none" : file}, "Root", "Job"),
            std::exchange(service, nullptr));
        replaceLog();
        upload();
        std::size_t linesBefore = 0;
        do {
            linesBefore = lines_;
            onSomeThread([] { HttpSession::shared().waitUntilIdle(); });
            if (!pumpUntil([this] { return unfinished_ == 0; })) {
                return "the job comes to no rest";
            }
        } while (MainQueue::drain() > 0 || unfinished_ > 0 || lines_ != linesBefore);
        inHostCall([this] { job_.reset(); });
        return brokenRule();
    }

private:
    bool isOneIn(std::size_t count) {
        const std::scoped_lock lock(mutex_);
        return random_() % count == 0;
    }

    void record(Kind kind, std::size_t pair) {
        const std::scoped_lock lock(mutex_);
        events_.push_back({kind, pair, std::this_thread::get_id() == mainThread, isInHostCall});
    }

    static void inHostCall(const auto& operation) {
        isInHostCall = true;
        operation();
        isInHostCall = false;
    }

    /// Runs a task on some thread. The last one to end wakes the main thread.
    void onSomeThread(TaskQueue::Task task) {
        ++unfinished_;
        const std::size_t index = isOneIn(2) ? 0 : threads.size() - 1;
        threads[index].tasks.post([this, task = std::move(task)]() mutable {
            std::exchange(task, nullptr)();
            if (--unfinished_ == 0) {
                MainQueue::post([] {});
            }
        });
    }

    /// At each line of the log, sometimes.
    void interfere() {
        ++lines_;
        constexpr std::size_t mostActions = 6;
        if (!isOneIn(4) || actions_++ >= mostActions) {
            return;
        }
        if (isOneIn(3)) {
            MainQueue::post([this] { actOnMainThread(); });
        } else {
            onSomeThread([this] { actOnAnyThread(); });
        }
    }

    void actOnAnyThread() {
        if (isOneIn(3)) {
            replaceLog();
        } else if (isOneIn(2)) {
            upload();
        } else if (const std::shared_lock lock(access_); job_) {
            inHostCall([this] { job_->cancel(); });
            record(Kind::cancelEnds, 0);
        }
    }

    void actOnMainThread() {
        if (isOneIn(4)) {
            MainQueue::drain();
        } else if (isOneIn(3)) {
            const std::scoped_lock lock(access_);
            record(Kind::releaseBegins, 0);
            inHostCall([this] { job_.reset(); });
        } else {
            actOnAnyThread();
        }
    }

    void replaceLog() {
        Configuration::setLog(makeLogSink([this](auto&&...) { interfere(); }));
    }

    void upload() {
        const std::shared_lock lock(access_);
        if (!job_) {
            return;
        }
        const auto pair = pairs_++;
        record(Kind::uploadBegins, pair);
        inHostCall([this, pair] {
            const std::shared_ptr<void> captured(
                nullptr, [this, pair](void*) { record(Kind::capturesReleased, pair); });
            const auto hear = [this, pair, captured](Kind kind) {
                record(kind, pair);
                if (isOneIn(3)) {
                    actOnMainThread();
                }
            };
            job_->upload([hear](const auto&) { hear(Kind::progress); },
                         [hear](const auto&) { hear(Kind::result); });
        });
        record(Kind::uploadEnds, pair);
    }

    void answer(const ScriptedRequest& request) {
        for (std::uint64_t sent = 1; request.progress && sent <= 2; ++sent) {
            request.progress->setCompletedUnitCount(sent);
        }
        request.answer(!isOneIn(20));
    }

    /// Where an event is in the journal; its end if it did not happen.
    [[nodiscard]] auto find(Kind kind, std::size_t pair) const {
        return std::ranges::find_if(
            events_, [=](const Event& event) { return event.kind == kind && event.pair == pair; });
    }

    [[nodiscard]] std::string brokenRule() const {
        for (auto event = events_.begin(); event != events_.end(); ++event) {
            const bool isRelease = event->kind == Kind::capturesReleased && !event->isInHostCall;
            if (!event->isOnMainThread && (event->isCallback() || isRelease)) {
                return "a callback was called or released on a wrong thread";
            }
            if (event->isCallback() && find(Kind::result, event->pair) < event) {
                return "a callback was called after the completion";
            }
            const auto isLate = [&](const Event& later) {
                const bool isReplaced =
                    event->kind == Kind::uploadEnds &&
                    find(Kind::uploadEnds, later.pair) < find(Kind::uploadBegins, event->pair);
                return later.isCallback() && (event->kind == Kind::cancelEnds || isReplaced);
            };
            // From another thread, a call that has already begun may still be running.
            if (std::count_if(event, events_.end(), isLate) > (event->isOnMainThread ? 0 : 1)) {
                return "a callback was called after it was cancelled or replaced";
            }
        }
        const auto released = std::ranges::count(events_, Kind::capturesReleased, &Event::kind);
        if (std::cmp_not_equal(released, pairs_.load())) {
            return "what the callbacks hold was not released";
        }
        const bool hasOutcome = std::ranges::any_of(events_, [](const Event& event) {
            return event.kind == Kind::cancelEnds || event.kind == Kind::releaseBegins ||
                   event.kind == Kind::result;
        });
        return hasOutcome ? "" : "the job has no outcome";
    }

    std::mutex mutex_; ///< of the random numbers and the journal
    std::mt19937 random_;
    std::vector<Event> events_;
    std::atomic<std::size_t> unfinished_ = 0, pairs_ = 0, actions_ = 0, lines_ = 0;
    std::shared_mutex access_; ///< of the host to its job
    std::shared_ptr<ShareJob> job_;
    TemporaryFolder folder_;
};

bool soak(std::size_t schedules, std::size_t seed) {
    std::unique_ptr<emulator::LocalDrive> drive;
    for (std::size_t number = 0; number < schedules; ++number) {
        if (number % 5000 == 0) {
            drive.reset(); // one at a time
            drive = emulator::LocalDrive::start().value();
        }
        const bool usesDrive = (seed + number) % 50 == 0;
        const auto broken =
            Schedule(seed + number)
                .run(usesDrive ? std::make_shared<GoogleWebservice>((*drive)->accessToken())
                               : nullptr);
        if (!broken.empty()) {
            std::cerr << broken << ": --schedules 1 --seed " << seed + number << '\n';
            return false;
        }
    }
    return true;
}

} // namespace

} // namespace cirrus::tests

int main(int count, char** arguments) {
    std::map<std::string, std::size_t> options{{"--schedules", 100'000}, {"--seed", 1}};
    for (int index = 1; index + 1 < count; index += 2) {
        options.at(arguments[index]) = std::stoul(arguments[index + 1]);
    }
    cirrus::tests::threads.resize(2);
    const bool isClean = cirrus::tests::soak(options["--schedules"], options["--seed"]);
    // With what libraries keep for each thread.
    for (auto& worker : cirrus::tests::threads) {
        worker.tasks.stop();
        worker.thread.join(cirrus::tests::patience);
    }
    return isClean ? 0 : 1;
}
