#include <Cirrus/MainQueue.h>

#include <gtest/gtest.h>

#include <memory>

namespace cirrus::tests {
namespace {

TEST(MainQueue, DrainRunsAsManyTasksAsWaitedWhenItBegan) {
    std::string order;
    MainQueue::post([&] {
        order += "(";
        EXPECT_EQ(MainQueue::drain(), 2U);
        order += ")";
    });
    MainQueue::post([&] { order += "a"; });
    MainQueue::post([&] { order += "b"; });
    EXPECT_EQ(MainQueue::drain(), 1U);
    EXPECT_EQ(order, "(ab)");
    MainQueue::post([&] { MainQueue::post([&] { order += "c"; }); });
    EXPECT_EQ(MainQueue::drain(), 1U);
    EXPECT_EQ(order, "(ab)");
    EXPECT_EQ(MainQueue::drain(), 1U);
    EXPECT_EQ(order, "(ab)c");
}

TEST(MainQueue, RunsUntilItIsStopped) {
    std::string order;
    MainQueue::post([&] {
        order += "a";
        MainQueue::stop();
    });
    MainQueue::post([&] { order += "b"; });
    MainQueue::stop();
    MainQueue::run();
    EXPECT_EQ(order, "");
    MainQueue::run();
    EXPECT_EQ(order, "a");
    EXPECT_EQ(MainQueue::drain(), 1U);
}

TEST(MainQueue, WakesItsHostForEachTask) {
    int wakeUps = 0;
    std::string order;
    MainQueue::post([&] { order += "a"; });
    // Called and destroyed outside any lock, so each may use the queue.
    std::shared_ptr<void> held(nullptr, [&](auto) { MainQueue::post([&] { order += "c"; }); });
    MainQueue::setWakeUp([&wakeUps, held = std::move(held)] {
        if (++wakeUps == 2) {
            MainQueue::setWakeUp({});
        }
    });
    EXPECT_EQ(wakeUps, 1);
    MainQueue::post([&] { order += "b"; });
    EXPECT_EQ(wakeUps, 2);
    EXPECT_EQ(MainQueue::drain(1), 1U);
    EXPECT_EQ(order, "a");
    EXPECT_EQ(MainQueue::drain(), 2U);
    EXPECT_EQ(order, "abc");
}

} // namespace
} // namespace cirrus::tests
