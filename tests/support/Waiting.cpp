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

} // namespace cirrus::tests
