#include <gtest/gtest.h>
#include <poll.h>

#include <algorithm>

#include "Cirrus/FileUploader.h"
#include "Cirrus/webservice/GoogleWebservice.h"
#include "tests/support/Host.h"
#include "tests/support/Step.h"

namespace cirrus::tests {

namespace {

using emulator::Answer;
using emulator::Request;
using emulator::Snapshot;

/// How many requests a job of two files makes in all when it is stopped during one of them.
struct StopRow {
    Step step;
    std::size_t untilThen;
    std::size_t afterCancel;
};

constexpr std::size_t all = 9;
constexpr std::array stopRows{
    // While the folders are prepared, `cancel` only suppresses the delivery.
    StopRow{Step::search, 1, all},
    StopRow{Step::createRoot, 2, all},
    StopRow{Step::createDestination, 3, all},
    // While files upload, the chain ends with the uploader.
    StopRow{Step::session, 4, 4},
    StopRow{Step::content, 5, 5},
    StopRow{Step::permission, 8, all},
    StopRow{Step::link, 9, all},
};

/// Lets the first request of a step wait at the gate before it is answered.
emulator::RequestHook waitingAt(Gate& gate, Step step) {
    return [&gate, step](const Request& request) -> std::optional<Answer> {
        if (stepOf(request) == step) {
            gate.pass();
        }
        return std::nullopt;
    };
}

std::unique_ptr<ShareController> makeTwoFileJob(Host& host) {
    return host.makeController(
        {host.folder().write("one", "first"), host.folder().write("two", "second")});
}

TEST(ShareCancel, InEveryStateSuppressesTheDelivery) {
    for (const auto& row : stopRows) {
        SCOPED_TRACE(row.untilThen);
        Host host;
        Gate gate;
        host.drive().setHook(waitingAt(gate, row.step));
        const auto controller = makeTwoFileJob(host);
        const auto heard = Host::upload(*controller);
        ASSERT_TRUE(gate.awaitArrival());
        // The first session is requested before the controller holds the uploader.
        Host::passCallbackThread();
        MainQueue::drain();
        const auto before = heard->fractions.size();
        controller->cancel();
        EXPECT_EQ(heard.use_count(), 1) << "the callbacks are let go at once";
        gate.open();
        Host::settle();

        EXPECT_TRUE(heard->results.empty());
        EXPECT_EQ(heard->fractions.size(), before);
        EXPECT_EQ(host.requests().size(), row.afterCancel);
        EXPECT_FALSE(
            host.log().contains("FileUploader notice uploadNextItem(): Upload is cancelled"));
    }
}

/// Destroys the controller and runs what the main queue still holds of the job, which keeps it.
void destroy(std::unique_ptr<ShareController>& controller, const std::shared_ptr<Heard>& heard) {
    controller.reset();
    ASSERT_TRUE(pumpUntil([&] { return heard.use_count() == 1; }));
}

TEST(ShareCancel, DestroyingInEveryStateEndsTheJob) {
    for (const auto& row : stopRows) {
        SCOPED_TRACE(row.untilThen);
        Host host;
        Gate gate;
        host.drive().setHook(waitingAt(gate, row.step));
        auto controller = makeTwoFileJob(host);
        const auto heard = Host::upload(*controller);
        ASSERT_TRUE(gate.awaitArrival());
        destroy(controller, heard);
        gate.open();
        Host::settle();

        EXPECT_TRUE(heard->results.empty());
        EXPECT_EQ(host.requests().size(), row.untilThen);
    }
}

TEST(ShareCancel, LogsBothUnits) {
    Host host;
    Gate gate;
    host.drive().setHook(waitingAt(gate, Step::content));
    const auto controller = makeTwoFileJob(host);
    Host::upload(*controller);
    ASSERT_TRUE(gate.awaitArrival());
    Host::passCallbackThread();
    controller->cancel();
    controller->cancel();
    const auto lines = host.log().lines();
    EXPECT_EQ(std::vector(lines.end() - 3, lines.end()),
              (std::vector<std::string>{
                  "ShareController detail cancel(): ", "FileUploader detail cancel(): ",
                  "ShareController detail cancel(): "}));
}

TEST(ShareCancel, DestroyingInMidBodyAbortsNoTransfer) {
    Host host;
    Gate gate;
    constexpr std::size_t size = 20'000'000;
    host.drive().setHeadHook([&gate](const Request& request) -> std::optional<Answer> {
        if (stepOf(request) == Step::content) {
            gate.pass();
        }
        return std::nullopt;
    });
    auto controller = host.makeController({host.folder().write("large", std::string(size, 'x'))});
    const auto heard = Host::upload(*controller);
    ASSERT_TRUE(gate.awaitArrival());
    destroy(controller, heard);
    gate.open();
    EXPECT_TRUE(host.drive().waitUntil(patience, [](const Snapshot& snapshot) {
        return snapshot.files.back().content.size == size;
    }));
    Host::settle();
    EXPECT_TRUE(heard->results.empty());
}

/// Runs a job without files until its success waits on the main queue, but not through it.
std::shared_ptr<Heard> uploadUntilQueued(ShareController& controller) {
    auto heard = Host::upload(controller);
    pollfd awaited{.fd = MainQueue::descriptor(), .events = POLLIN, .revents = 0};
    EXPECT_EQ(::poll(&awaited, 1, std::chrono::milliseconds(patience).count()), 1);
    return heard;
}

TEST(ShareCancel, AfterTheOutcomeIsQueuedStillSuppressesIt) {
    Host host;
    const auto controller = host.makeController({});
    const auto heard = uploadUntilQueued(*controller);
    controller->cancel();
    Host::settle();
    EXPECT_TRUE(heard->results.empty());
}

TEST(ShareCancel, DestroyingAfterTheOutcomeIsQueuedDeliversIt) {
    Host host;
    auto controller = host.makeController({});
    const auto heard = uploadUntilQueued(*controller);
    controller.reset();
    ASSERT_TRUE(pumpUntil([&] { return heard.use_count() == 1; }));
    EXPECT_EQ(heard->results.size(), 1U);
}

TEST(ShareCancel, BeforeTheUploadRunsTheJobInSilence) {
    Host host;
    const auto controller = makeTwoFileJob(host);
    controller->cancel();
    const auto heard = Host::upload(*controller);
    Host::settle();
    EXPECT_TRUE(heard->results.empty());
    EXPECT_TRUE(heard->fractions.empty());
}

TEST(ShareCancel, FromInsideTheProgressCallbackIsTheLastCall) {
    Host host;
    const auto controller = makeTwoFileJob(host);
    int calls = 0;
    controller->upload(
        [&](const auto&) {
            ++calls;
            controller->cancel();
        },
        [](const auto&) { ADD_FAILURE(); });
    ASSERT_TRUE(pumpUntil([&] { return calls > 0; }));
    Host::settle();
    EXPECT_EQ(calls, 1);
}

TEST(ShareCancel, DestroyingFromInsideTheProgressCallbackEndsTheJob) {
    Host host;
    Gate gate;
    host.drive().setHook(waitingAt(gate, Step::permission));
    auto controller = makeTwoFileJob(host);
    const auto held = std::make_shared<int>();
    controller->upload([&](const auto&) { controller.reset(); },
                       [held](const auto&) { ADD_FAILURE(); });
    // What is queued already still holds the job.
    ASSERT_TRUE(pumpUntil([&] { return held.use_count() == 1; }));
    gate.open();
    Host::settle();
}

TEST(ShareCancel, FromInsideTheCompletionIsHarmless) {
    for (const bool destroys : {false, true}) {
        SCOPED_TRACE(destroys);
        Host host;
        auto controller = host.makeController({});
        int completions = 0;
        controller->upload({}, [&](const auto&) {
            destroys ? controller.reset() : controller->cancel();
            // A message box would run the queue in here.
            MainQueue::drain();
            ++completions;
        });
        ASSERT_TRUE(pumpUntil([&] { return completions > 0; }));
        Host::settle();
        EXPECT_EQ(completions, 1);
    }
}

std::shared_ptr<FileUploader> makeUploader(Host& host) {
    return std::make_shared<FileUploader>(
        std::vector{host.folder().write("one", "first"), host.folder().write("two", "second")},
        std::make_shared<GoogleWebservice>(host.drive().accessToken()), "root");
}

TEST(FileUploaderCancel, StopsBeforeTheNextFile) {
    Host host;
    Gate gate;
    host.drive().setHook(waitingAt(gate, Step::content));
    const auto uploader = makeUploader(host);
    uploader->upload([](const auto&) { ADD_FAILURE(); });
    ASSERT_TRUE(gate.awaitArrival());
    uploader->cancel();
    gate.open();
    ASSERT_TRUE(host.log().await("FileUploader notice uploadNextItem(): Upload is cancelled"));
    Host::settle();
    EXPECT_EQ(host.requests().size(), 2U);
    EXPECT_EQ(host.drive().snapshot().files.size(), 1U);
}

TEST(FileUploaderCancel, BeforeTheStartSendsNothing) {
    Host host;
    const auto uploader = makeUploader(host);
    uploader->cancel();
    uploader->upload([](const auto&) { ADD_FAILURE(); });
    EXPECT_EQ(host.log().lines().back(),
              "FileUploader notice uploadNextItem(): Upload is cancelled");
    EXPECT_TRUE(host.requests().empty());
}

} // namespace

} // namespace cirrus::tests
