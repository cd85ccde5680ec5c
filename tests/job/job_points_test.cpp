// The host acts between any two events of a job, and each promise has to hold wherever it does.

#include <gtest/gtest.h>

#include <Cirrus/MainQueue.h>

#include "Cirrus/ShareJob.h"
#include "tests/support/ScriptedWebservice.h"
#include "tests/support/TemporaryFolder.h"

namespace cirrus::tests {

namespace {

/// A job of two files that moves by one event at a time: a task of the main queue, or else the
/// answer to the newest request.
struct SteppedJob {
    /// The request of this kind fails, if any.
    explicit SteppedJob(std::optional<Step> step) : failing(step) {
        MainQueue::setWakeUp([this] { ++queued; });
        const auto file = folder.write("file", "12");
        job = std::make_shared<ShareJob>(ShareJob::Context({file, file}, "Root", "Job"),
                                         std::make_shared<ScriptedWebservice>([this](auto request) {
                                             ++requestCount;
                                             requests.push_back(std::move(request));
                                         }));
        captured = upload(callbackCount);
    }

    SteppedJob(const SteppedJob&) = delete;
    SteppedJob& operator=(const SteppedJob&) = delete;

    ~SteppedJob() { MainQueue::setWakeUp({}); }

    /// What both callbacks hold: how often the completion was called. All goes on
    /// inside it, as it does while a message box is open.
    std::weak_ptr<int> upload(int& count) {
        auto held = std::make_shared<int>();
        job->upload(
            [&count, held](const auto&) {
                EXPECT_EQ(*held, 0) << "no progress in the completion, or after it";
                ++count;
            },
            [this, &count, held](const auto&) {
                EXPECT_EQ(++*held, 1);
                ++count;
                while (advance()) {
                }
            });
        return held;
    }

    /// False if nothing was left to do.
    bool advance() {
        if (queued > 0) {
            --queued;
            return MainQueue::drain(1) > 0;
        }
        if (requests.empty()) {
            return false;
        }
        const auto request = std::move(requests.back());
        requests.pop_back();
        request.answer(request.step != failing);
        return true;
    }

    const std::optional<Step> failing;
    TemporaryFolder folder;
    std::shared_ptr<ShareJob> job;
    std::vector<ScriptedRequest> requests;
    int queued = 0; ///< tasks of the main queue
    int requestCount = 0;
    int callbackCount = 0;
    std::weak_ptr<int> captured;
};

enum Act { cancels, cancelsAndDestroys, cancelsAndUploads, destroys, uploadsAgain, doesNothing };

/// Lets the host act after this many events; false if nothing happens any more by then.
bool actAt(int point, Act act, std::optional<Step> failing) {
    SteppedJob stepped(failing);
    bool isOnItsWay = true;
    for (int event = 0; event < point; ++event) {
        isOnItsWay = stepped.advance();
    }
    const int callbacks = stepped.callbackCount;
    const int requests = stepped.requestCount;
    const int queued = stepped.queued;
    int callbacksOfOther = 0;
    if (act == cancels || act == cancelsAndDestroys || act == cancelsAndUploads) {
        stepped.job->cancel();
    }
    if (act == uploadsAgain || act == cancelsAndUploads) {
        stepped.upload(callbacksOfOther);
    }
    EXPECT_TRUE(act == destroys || act == doesNothing || stepped.captured.expired())
        << "callbacks are released at once";
    if (act == destroys || act == cancelsAndDestroys) {
        stepped.job.reset();
    }
    while (stepped.advance()) {
    }
    if (act == doesNothing) {
        EXPECT_EQ(stepped.callbackCount, !failing || *failing >= Step::content ? 5 : 1)
            << "each completes once, those that send files after 4 calls for their progress";
    } else {
        EXPECT_EQ(stepped.callbackCount, callbacks + (act == destroys ? queued : 0))
            << "destroying makes the calls that are queued, and nothing else makes any";
    }
    EXPECT_TRUE(act != cancelsAndDestroys || stepped.requestCount == requests)
        << "no further request";
    EXPECT_EQ(callbacksOfOther > 0, act == uploadsAgain)
        << "new callbacks get their calls, but not of a job that was cancelled";
    EXPECT_TRUE(stepped.captured.expired());
    return isOnItsWay;
}

TEST(JobPoints, EachPromiseHoldsAtEveryPointWhateverFails) {
    using enum Step;
    for (const auto act :
         {cancels, cancelsAndDestroys, cancelsAndUploads, destroys, uploadsAgain, doesNothing}) {
        for (const auto failing : std::vector<std::optional<Step>>{
                 {}, search, createRoot, createDestination, session, content, permission, link}) {
            bool isOnItsWay = true;
            for (int point = 0; isOnItsWay; ++point) {
                SCOPED_TRACE(testing::Message()
                             << "act " << act << " after " << point << " events, step "
                             << (failing ? static_cast<int>(*failing) : -1) << " fails");
                isOnItsWay = actAt(point, act, failing);
            }
        }
    }
}

TEST(JobPoints, AnUploadThatIsCancelledBeforeItsStartSendsNothing) {
    const auto service = std::make_shared<ScriptedWebservice>([](const auto&) { ADD_FAILURE(); });
    const auto uploader =
        std::make_shared<FileUploader>(std::vector<std::filesystem::path>{"file"}, service, "root");
    uploader->cancel();
    uploader->upload([](const auto&) { ADD_FAILURE(); });
}

} // namespace

} // namespace cirrus::tests
