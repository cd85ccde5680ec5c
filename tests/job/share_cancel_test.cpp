#include <gtest/gtest.h>

#include <utility>

#include "tests/support/Host.h"

namespace cirrus::tests {

namespace {

using emulator::Snapshot;

/// Holds requests up before their bodies are read.
emulator::RequestHook holdingAt(Gate& gate, std::optional<Step> step = std::nullopt) {
    return [&gate, step](const auto& request) {
        !step || stepOf(request) == step ? gate.pass() : void();
        return std::nullopt;
    };
}

TEST(ShareCancel, DestroyingInMidBodyAbortsNoTransfer) {
    Host host;
    Gate gate;
    constexpr std::size_t size = 20'000'000;
    host.drive().setHeadHook(holdingAt(gate, Step::content));
    auto controller = host.makeController({host.folder().write("large", std::string(size, 'x'))});
    const auto heard = Host::upload(*controller);
    ASSERT_TRUE(gate.awaitArrival());
    controller.reset();
    // What the main queue still holds of the job keeps it.
    ASSERT_TRUE(pumpUntil([&] { return heard.use_count() == 1; }));
    gate.open();
    EXPECT_TRUE(host.drive().waitUntil(patience, [](const Snapshot& snapshot) {
        return snapshot.files.back().content.size == size;
    }));
    Host::settle();
    EXPECT_TRUE(heard->results.empty());
}

TEST(ShareCancel, EndsWithTheObjectThatHoldsTheJob) {
    const std::vector<std::function<void(std::optional<ScopedShareController>&, Host&)>> rows{
        [](auto& job, auto&) { job.reset(); },
        [](auto& job, auto&) { *job = ScopedShareController(); },
        [](auto& job, auto& host) { *job->operator->() = std::move(*host.makeController({})); }};
    for (const auto& replace : rows) {
        Host host;
        Gate gate;
        host.drive().setHeadHook(holdingAt(gate));
        std::optional job(ScopedShareController(std::move(*host.makeController({"/dev/null"}))));
        const auto heard = Host::upload(*job->operator->());
        ASSERT_TRUE(gate.awaitArrival());
        replace(job, host);
        EXPECT_EQ(heard.use_count(), 1);
        const auto lines = host.log().lines();
        gate.open();
        Host::settle();
        EXPECT_TRUE(heard->results.empty() && heard->fractions.empty());
        EXPECT_EQ(host.log().lines(), lines);
        EXPECT_EQ(host.requests().size(), 1U);
    }
}

TEST(ShareCancel, LeavesNothingQueuedOfAScopedJobButTheOutcomeOfAPlainOne) {
    for (const bool isScoped : {true, false}) {
        Host host;
        auto job = host.makeController({});
        const auto heard = Host::upload(*job);
        ASSERT_TRUE(host.log().await("ShareController detail requestContentUrl(fileIdentifier:): "
                                     "Obtain URL, finishing upload..."));
        Host::passCallbackThread();
        if (isScoped) {
            const ScopedShareController scoped(std::move(*job));
        }
        job.reset();
        Host::settle();
        EXPECT_EQ(heard->results.empty(), isScoped);
    }
}

template <class Controller>
concept CanUpload =
    requires(Controller&& controller) { std::forward<Controller>(controller).upload({}, {}); };
static_assert(CanUpload<ShareController&> && !CanUpload<ShareController>);

} // namespace

} // namespace cirrus::tests
