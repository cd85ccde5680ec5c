// The main queue as the event loop of real toolkits: callbacks come on its thread while it runs.
// The hosts of all other tests drain it themselves.

#include <gtest/gtest.h>

#include "Cirrus/platform/http/HttpSession.h"
#include "tests/support/Host.h"
#include <Cirrus/adapters/GLib.h>
#include <Cirrus/adapters/Qt.h>

namespace cirrus::tests {

namespace {

/// Of a host that asks for it before or after it makes the application object.
template <bool isEarly>
struct QtLoop {
    QtLoop() {
        if (isEarly) {
            useQtEventLoop();
        }
        application.emplace(count, &arguments);
        if (!isEarly) {
            useQtEventLoop();
        }
    }

    static void turn() { QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents); }

    std::string name = "host";
    char* arguments = name.data();
    int count = 1;
    std::optional<QCoreApplication> application;
};

struct GLibLoop {
    GLibLoop() { useGLibMainContext(context.get()); }

    void turn() const { g_main_context_iteration(context.get(), TRUE); }

    std::unique_ptr<GMainContext, decltype(&g_main_context_unref)> context{g_main_context_new(),
                                                                           g_main_context_unref};
};

template <class Loop>
class EventLoopTest : public ::testing::Test {
protected:
    ~EventLoopTest() override { MainQueue::setWakeUp({}); }

    std::unique_ptr<Loop> loop_ = std::make_unique<Loop>();
};

using Loops = ::testing::Types<QtLoop<false>, QtLoop<true>, GLibLoop>;
TYPED_TEST_SUITE(EventLoopTest, Loops);

} // namespace

TYPED_TEST(EventLoopTest, CallsBackOnItsThreadWhileItRuns) {
    Host host;
    const auto file = host.folder().write("file", "bytes");
    auto controller = host.makeController({file, file});
    const auto heard = Host::upload(*controller);
    ASSERT_TRUE(host.log().await("ShareController detail requestContentUrl(fileIdentifier:): "
                                 "Obtain URL, finishing upload..."));
    Host::passCallbackThread();
    EXPECT_TRUE(heard->fractions.empty() && heard->results.empty());
    while (heard->results.empty()) {
        this->loop_->turn();
    }
    EXPECT_TRUE(heard->results.front().has_value() && heard->wasOnMainThread);
    EXPECT_EQ(heard->fractions.back(), 1);

    // A job that outlives the loop finds nobody to call, and nothing else happens.
    this->loop_.reset();
    const auto late = host.makeController({file});
    const auto unheard = Host::upload(*late);
    Host::passCallbackThread();
    HttpSession::shared().waitUntilIdle();
    EXPECT_TRUE(unheard->results.empty());
}

TYPED_TEST(EventLoopTest, RunsEveryTaskOnItsThread) {
    int left = 1000;
    const std::jthread poster([&, count = left, loopThread = std::this_thread::get_id()] {
        for (int number = 0; number < count; ++number) {
            MainQueue::post([&, loopThread] {
                EXPECT_EQ(std::this_thread::get_id(), loopThread);
                --left;
            });
        }
    });
    while (left > 0) {
        this->loop_->turn();
    }
}

} // namespace cirrus::tests
