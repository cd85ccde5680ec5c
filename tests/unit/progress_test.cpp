#include <Cirrus/Progress.h>

#include <gtest/gtest.h>

#include <thread>

namespace cirrus::tests {
namespace {

/// Sees to it that a progress only ever rises, and counts how often.
struct Watch {
    explicit Watch(const std::shared_ptr<Progress>& progress)
        : observation(progress->observe([this](const Progress& changed) {
              const double fraction = changed.fractionCompleted();
              EXPECT_GT(fraction, std::exchange(last, fraction));
              ++count;
          })) {}

    double last = 0;
    int count = 0;
    ProgressObservation observation;
};

TEST(Progress, OfAwkwardChildrenEndsAtExactlyOneAndNeverFalls) {
    const auto parent = Progress::create(700);
    const Watch watch(parent);
    std::vector<std::shared_ptr<Progress>> children;
    for (const std::uint64_t total :
         {1ULL, 3ULL, 7ULL, 49ULL, 1'000'003ULL, 0ULL, (1ULL << 53U) + 1}) {
        parent->addChild(children.emplace_back(Progress::create(total)), 100);
    }
    for (std::uint64_t step = 1; step <= 7; ++step) {
        for (const auto& child : children) {
            child->setCompletedUnitCount(child->totalUnitCount() / 7 * step);
        }
    }
    EXPECT_LT(parent->fractionCompleted(), 1);
    for (const auto& child : children) {
        child->finish();
    }
    EXPECT_EQ(parent->fractionCompleted(), 1.0);
    EXPECT_GT(watch.count, 7);
}

TEST(Progress, WeighsChildrenAndOwnUnits) {
    const auto parent = Progress::create(300);
    const auto child = Progress::create(4);
    const auto emptyChild = Progress::create(0);
    child->setCompletedUnitCount(3);
    parent->addChild(child, 100);
    parent->addChild(emptyChild, 100);
    EXPECT_EQ(parent->fractionCompleted(), 0.25);
    EXPECT_EQ(emptyChild->fractionCompleted(), 0.0);
    emptyChild->finish();
    EXPECT_NEAR(parent->fractionCompleted(), 1.75 / 3, 1e-6);
    parent->setCompletedUnitCount(100);
    child->setCompletedUnitCount(99);
    EXPECT_EQ(parent->fractionCompleted(), 1.0);
}

TEST(Progress, CountsChildrenThatAreGoneAndNeverMoreThanAll) {
    const auto parent = Progress::create(100);
    for (int count = 0; count < 2; ++count) {
        const auto heavy = Progress::create(1);
        parent->addChild(heavy, 100);
        heavy->finish();
    }
    EXPECT_EQ(parent->fractionCompleted(), 1.0);
}

TEST(Progress, TellsObserversOnceForEachChangeUntilTheyEnd) {
    const auto progress = Progress::create(10);
    const Watch watch(progress);
    int ownCalls = 0;
    const auto held = std::make_shared<int>();
    ProgressObservation own;
    own = progress->observe([&, held](const Progress&) {
        ++ownCalls;
        own.invalidate();
        progress->setCompletedUnitCount(4);
    });
    static_cast<void>(progress->observe([](const Progress&) { ADD_FAILURE(); }));
    for (const std::uint64_t count : {0U, 3U, 3U, 2U, 4U, 20U, 10U}) {
        progress->setCompletedUnitCount(count);
    }
    progress->finish();
    EXPECT_EQ(watch.count, 3);
    EXPECT_EQ(ownCalls, 1);
    EXPECT_EQ(held.use_count(), 1);
}

TEST(Progress, EndsAtExactlyOneWhateverThreadsMove) {
    constexpr std::uint64_t steps = 999;
    const auto parent = Progress::create(300);
    std::vector<std::jthread> threads;
    for (int index = 0; index < 3; ++index) {
        threads.emplace_back([&parent, child = Progress::create(steps)] {
            parent->addChild(child, 100);
            // A second thread, so that changes of one child overtake each other.
            const std::jthread other([&child] { child->setCompletedUnitCount(steps / 2); });
            for (std::uint64_t step = 1; step <= steps; ++step) {
                child->setCompletedUnitCount(step);
            }
        });
    }
    threads.clear();
    EXPECT_EQ(parent->fractionCompleted(), 1.0);
}

} // namespace
} // namespace cirrus::tests
