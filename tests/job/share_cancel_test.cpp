#include <gtest/gtest.h>

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

/// Destroys the controller and runs what the main queue still holds of the job, which keeps it.
void destroy(std::unique_ptr<ShareController>& controller, const std::shared_ptr<Heard>& heard) {
    controller.reset();
    ASSERT_TRUE(pumpUntil([&] { return heard.use_count() == 1; }));
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

TEST(ShareCancel, FromInsideTheCompletionIsHarmless) {
    for (const bool destroys : {false, true}) {
        SCOPED_TRACE(destroys);
        Host host;
        auto controller = host.makeController({host.folder().write("file", "1")});
        int completions = 0;
        const auto notLate = [&](const auto&) { EXPECT_EQ(completions, 0); };
        controller->upload(notLate, [&](const auto&) {
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

TEST(ShareCancel, AnotherJobInItsPlaceReleasesTheFirst) {
    Host host;
    Gate gate;
    host.drive().setHeadHook([&gate](const auto&) { return gate.pass(), std::nullopt; });
    const auto controller = host.makeController({});
    const auto heard = Host::upload(*controller);
    ASSERT_TRUE(gate.awaitArrival());
    *controller = std::move(*host.makeController({}));
    EXPECT_EQ(heard.use_count(), 1);
    gate.open();
    Host::settle();
    EXPECT_TRUE(heard->results.empty() && host.requests().size() == 1);
}

std::shared_ptr<FileUploader> makeUploader(Host& host) {
    return std::make_shared<FileUploader>(
        std::vector{host.folder().write("one", "first"), host.folder().write("two", "second")},
        std::make_shared<GoogleWebservice>(host.drive().accessToken()), "root");
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
