#include "tests/support/Waiting.h"

#include <poll.h>

#include <Cirrus/MainQueue.h>

namespace cirrus::tests {

bool pumpUntil(const std::function<bool()>& isDone) {
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (!isDone()) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        pollfd awaited{.fd = MainQueue::descriptor(), .events = POLLIN, .revents = 0};
        if (left.count() <= 0 || ::poll(&awaited, 1, static_cast<int>(left.count())) <= 0) {
            return false;
        }
        MainQueue::drain();
    }
    return true;
}

void Gate::open() {
    const std::scoped_lock lock(mutex_);
    isOpen_ = true;
    changed_.notify_all();
}

void Gate::pass() {
    std::unique_lock lock(mutex_);
    hasArrival_ = true;
    changed_.notify_all();
    changed_.wait(lock, [this] { return isOpen_; });
}

bool Gate::awaitArrival() {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, patience, [this] { return hasArrival_; });
}

} // namespace cirrus::tests
