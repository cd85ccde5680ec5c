// The host acts between any two events of a job, and each promise has to hold wherever it does.

#include <gtest/gtest.h>

#include <algorithm>

#include <Cirrus/MainQueue.h>

#include "Cirrus/ShareJob.h"
#include "tests/support/ScriptedWebservice.h"
#include "tests/support/TemporaryFolder.h"

namespace cirrus::tests {

namespace {

/// A job of two files that moves by one event at a time: a task of the main queue, or else the
/// answer to the newest request.
class SteppedJob {
public:
    /// The request of this kind fails, if any.
    explicit SteppedJob(std::optional<Step> failing) : failing_(failing) {
        MainQueue::setWakeUp([this] { ++queuedTasks; });
        const auto file = folder_.write("file", "12");
        job_ =
            std::make_shared<ShareJob>(ShareJob::Context({file, file}, "Root", "Job"),
                                       std::make_shared<ScriptedWebservice>([this](auto request) {
                                           ++requestCount;
                                           requests_.push_back(std::move(request));
                                       }));
        auto held = std::make_shared<int>();
        captured = held;
        job_->upload([this, held](const auto&) { ++callbackCount; },
                     [this, held](const auto&) { ++callbackCount; });
    }

    SteppedJob(const SteppedJob&) = delete;
    SteppedJob& operator=(const SteppedJob&) = delete;

    ~SteppedJob() { MainQueue::setWakeUp({}); }

    void cancel() { job_->cancel(); }

    void release() { job_.reset(); }

    /// False if nothing was left to do.
    bool advance() {
        if (MainQueue::drain(1) == 1) {
            --queuedTasks;
            return true;
        }
        if (!requests_.empty()) {
            answerNewest();
        } else {
            return false;
        }
        return true;
    }

    void finish() {
        while (advance()) {
        }
    }

    int queuedTasks = 0;
    int requestCount = 0;
    int callbackCount = 0;
    std::weak_ptr<int> captured; ///< what both callbacks hold

private:
    /// Moves a content upload on by half first.
    void answerNewest() {
        const auto progress = requests_.back().progress;
        if (progress && progress->fractionCompleted() < 1) {
            progress->setCompletedUnitCount(progress->fractionCompleted() > 0 ? 2 : 1);
            return;
        }
        const auto request = std::move(requests_.back());
        requests_.pop_back();
        request.answer(request.step != failing_);
    }

    const std::optional<Step> failing_;
    TemporaryFolder folder_;
    std::shared_ptr<ShareJob> job_;
    std::vector<ScriptedRequest> requests_;
};

/// Calls `check` with a job at each point of its way, for a job that succeeds and for jobs that
/// fail at each step.
void atEveryPoint(const std::function<void(SteppedJob&)>& check) {
    using enum Step;
    for (const auto failing : std::vector<std::optional<Step>>{
             {}, search, createRoot, createDestination, session, content, permission, link}) {
        int point = 0;
        for (bool isOnItsWay = true; isOnItsWay; ++point) {
            SCOPED_TRACE("after " + std::to_string(point) + " events, step " +
                         std::to_string(failing ? static_cast<int>(*failing) : -1) + " fails");
            SteppedJob job(failing);
            for (int event = 0; event < point; ++event) {
                isOnItsWay = job.advance();
            }
            check(job);
        }
        EXPECT_GT(point, 2);
    }
}

TEST(JobPoints, CancelSilencesTheJobAndReleasesTheCallbacksAtOnce) {
    atEveryPoint([](SteppedJob& job) {
        const int before = job.callbackCount;
        job.cancel();
        EXPECT_TRUE(job.captured.expired());
        job.finish();
        EXPECT_EQ(job.callbackCount, before);
    });
}

TEST(JobPoints, CancelAndReleaseSendNoFurtherRequest) {
    atEveryPoint([](SteppedJob& job) {
        const int before = job.requestCount;
        job.cancel();
        job.release();
        job.finish();
        EXPECT_EQ(job.requestCount, before);
    });
}

TEST(JobPoints, ReleaseStillMakesTheCallsThatAreQueuedAndNoOthers) {
    atEveryPoint([](SteppedJob& job) {
        const int before = job.callbackCount;
        const int queued = job.queuedTasks;
        job.release();
        job.finish();
        EXPECT_EQ(job.callbackCount, before + queued);
        EXPECT_TRUE(job.captured.expired());
    });
}

TEST(JobPoints, CompletionIsCalledOnceIfNobodyInterferes) {
    for (const auto failing : {std::optional<Step>(), std::optional(Step::link)}) {
        SteppedJob job(failing);
        job.finish();
        constexpr int progressCalls = 4;
        EXPECT_EQ(job.callbackCount, progressCalls + 1);
        EXPECT_TRUE(job.captured.expired());
    }
}

} // namespace

} // namespace cirrus::tests
