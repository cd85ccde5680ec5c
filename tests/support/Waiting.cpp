#include "tests/support/Waiting.h"

#include <semaphore>

#include <Cirrus/MainQueue.h>

namespace cirrus::tests {

bool pumpUntil(const std::function<bool()>& isDone) {
    static std::counting_semaphore posted(0);
    MainQueue::setWakeUp([] { posted.release(); });
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (!isDone()) {
        if (!posted.try_acquire_until(deadline)) {
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
