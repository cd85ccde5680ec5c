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

} // namespace cirrus::tests
