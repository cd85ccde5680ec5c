// Random jobs under a host that interferes at random moments: it uploads again, cancels and
// replaces the log from several threads, and releases the job on the main thread. Every callback,
// and every release of what callbacks hold, is held against the rules of the interface.
// Usage: cirrus_soak [SCHEDULES [SEED]]

#include <algorithm>
#include <deque>
#include <iostream>
#include <limits>
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

std::deque<Worker> workers;

bool isOnMainThread() {
    return std::this_thread::get_id() == mainThread;
}

class Schedule {
public:
    explicit Schedule(std::size_t seed) : random_(static_cast<unsigned>(seed)) {}

    /// Runs a job to its end and returns the rule that was broken, if any. Without a service, a
    /// scripted one answers on random threads.
    std::string run(std::shared_ptr<Webservice> service) {
        if (!service) {
            service = std::make_shared<ScriptedWebservice>([this](auto request) {
                onSomeThread(
                    [this, request = std::move(request)] { request.answer(!isOneIn(20)); });
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
        demand(hasOutcome_, "the job has no outcome");
        demand(held_ == 0, "what the callbacks hold was not released");
        return broken_;
    }

private:
    void demand(bool holds, const char* rule) {
        const std::scoped_lock lock(mutex_);
        broken_ = holds || !broken_.empty() ? broken_ : rule;
    }

    bool isOneIn(std::size_t count) {
        const std::scoped_lock lock(mutex_);
        return random_() % count == 0;
    }

    static void inHostCall(const auto& operation) {
        isInHostCall = true;
        operation();
        isInHostCall = false;
    }

    /// Runs a task on some thread. The last one to end wakes the main thread.
    void onSomeThread(TaskQueue::Task task) {
        ++unfinished_;
        workers[isOneIn(2) ? 0 : 1].tasks.post([this, task = std::move(task)]() mutable {
            std::exchange(task, nullptr)();
            if (--unfinished_ == 0) {
                MainQueue::post([] {});
            }
        });
    }

    /// At each line of the log, sometimes.
    void interfere() {
        ++lines_;
        if (!isOneIn(4) || actions_++ >= 6) {
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
            hasOutcome_ = true;
            // A call that has already begun may still be running.
            const std::scoped_lock counting(mutex_);
            callsLeft_ = std::min(callsLeft_, isOnMainThread() ? 0 : 1);
        }
    }

    void actOnMainThread() {
        if (isOneIn(4)) {
            MainQueue::drain();
        } else if (isOneIn(3)) {
            const std::scoped_lock lock(access_);
            inHostCall([this] { job_.reset(); });
            hasOutcome_ = true;
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
        inHostCall([this] {
            ++held_;
            const std::shared_ptr<bool> isOver(new bool(false), [this](const bool* held) {
                demand(isOnMainThread() || isInHostCall, "released on a wrong thread");
                delete held;
                --held_;
            });
            job_->upload([this, isOver](const auto&) { hear(*isOver, false); },
                         [this, isOver](const auto&) { hear(*isOver, true); });
        });
    }

    void hear(bool& isOver, bool isCompletion) {
        demand(isOnMainThread(), "called on a wrong thread");
        demand(!std::exchange(isOver, isCompletion), "called after the completion");
        {
            const std::scoped_lock lock(mutex_);
            broken_ = callsLeft_-- > 0 ? broken_ : "called after cancel()";
        }
        if (isCompletion) {
            hasOutcome_ = true;
        }
        if (isOneIn(3)) {
            actOnMainThread();
        }
    }

    std::mutex mutex_; ///< of the next three
    std::mt19937 random_;
    int callsLeft_ = std::numeric_limits<int>::max();
    std::string broken_;
    std::atomic<bool> hasOutcome_ = false;
    std::atomic<std::size_t> unfinished_ = 0, held_ = 0, actions_ = 0, lines_ = 0;
    std::shared_mutex access_; ///< of the host to its job
    std::shared_ptr<ShareJob> job_;
    TemporaryFolder folder_;
};

std::string soak(std::size_t schedules, std::size_t seed) {
    const auto drive = emulator::LocalDrive::start().value();
    std::string broken;
    for (const auto end = seed + schedules; broken.empty() && seed < end; ++seed) {
        broken = Schedule(seed).run(
            seed % 50 == 0 ? std::make_shared<GoogleWebservice>((*drive)->accessToken()) : nullptr);
    }
    return broken.empty() ? "" : broken + ": cirrus_soak 1 " + std::to_string(seed - 1);
}

} // namespace

} // namespace cirrus::tests

int main(int count, char** arguments) {
    cirrus::tests::workers.resize(2);
    const auto broken = cirrus::tests::soak(count > 1 ? std::stoul(arguments[1]) : 100'000,
                                            count > 2 ? std::stoul(arguments[2]) : 1);
    // With what libraries keep for each thread.
    for (auto& worker : cirrus::tests::workers) {
        worker.tasks.stop();
        worker.thread.join(cirrus::tests::patience);
    }
    std::cerr << broken;
    return broken.empty() ? 0 : 1;
}
