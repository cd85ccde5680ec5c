// The main queue as the event loop of real toolkits: callbacks come on its thread while it runs.

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <set>
#include <thread>
#include <utility>

#include "Cirrus/platform/http/HttpSession.h"
#include "tests/support/Host.h"
#include <Cirrus/adapters/GLib.h>
#include <Cirrus/adapters/Qt.h>

namespace cirrus::tests {

namespace {

class EventLoop {
public:
    virtual ~EventLoop() = default;
    virtual void turn() = 0;
};

class QtLoop final : public EventLoop {
public:
    QtLoop() { useQtEventLoop(); }

    void turn() override { QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents); }

private:
    int count_ = 1;
    std::array<char, 5> name_{"host"};
    std::array<char*, 2> arguments_{name_.data(), nullptr};
    QCoreApplication application_{count_, arguments_.data()};
};

class GLibLoop final : public EventLoop {
public:
    GLibLoop() { useGLibMainContext(context_.get()); }

    void turn() override { g_main_context_iteration(context_.get(), TRUE); }

private:
    std::unique_ptr<GMainContext, decltype(&g_main_context_unref)> context_{g_main_context_new(),
                                                                            g_main_context_unref};
};

template <class Loop>
class EventLoopTest : public ::testing::Test {};

using Loops = ::testing::Types<QtLoop, GLibLoop>;
TYPED_TEST_SUITE(EventLoopTest, Loops);

} // namespace

TYPED_TEST(EventLoopTest, CallsBackOnItsThreadWhileItRuns) {
    Host host;
    const auto file = host.folder().write("file", "bytes");
    auto loop = std::make_unique<TypeParam>();
    auto controller = host.makeController({file, file});
    const auto heard = Host::upload(*controller);
    ASSERT_TRUE(host.log().await("ShareController detail requestContentUrl(fileIdentifier:): "
                                 "Obtain URL, finishing upload..."));
    Host::passCallbackThread();
    EXPECT_TRUE(heard->fractions.empty() && heard->results.empty());

    while (heard->results.empty()) {
        loop->turn();
    }
    EXPECT_TRUE(heard->results.front().has_value());
    EXPECT_TRUE(heard->wasOnMainThread);
    EXPECT_EQ(heard->fractions.back(), 1);

    // A job that outlives the loop finds nobody to call, and nothing else happens.
    loop.reset();
    const auto late = host.makeController({file});
    const auto unheard = Host::upload(*late);
    Host::passCallbackThread();
    HttpSession::shared().waitUntilIdle();
    MainQueue::setWakeUp({});
    EXPECT_TRUE(unheard->results.empty());
}

TYPED_TEST(EventLoopTest, DestroysTasksOnItsThread) {
    auto loop = std::make_unique<TypeParam>();
    std::set<std::thread::id> threads;
    int left = 1000;
    std::jthread poster([&] {
        for (int count = left; count > 0; --count) {
            std::shared_ptr<void> held(nullptr, [&](auto) {
                threads.insert(std::this_thread::get_id());
                --left;
            });
            MainQueue::post([held = std::move(held)] {});
        }
    });
    while (left > 0) {
        loop->turn();
    }
    EXPECT_EQ(threads, std::set{std::this_thread::get_id()});
    loop.reset();
    MainQueue::setWakeUp({});
}

} // namespace cirrus::tests
