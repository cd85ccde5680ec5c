#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <semaphore>

namespace cirrus::tests {

/// Whether the library was built without what only Linux has; some promises are weaker then.
inline constexpr bool isPlainPosix = CIRRUS_PLAIN_POSIX;

/// Longest wait for something that has to come. Only a failing test ever waits that long.
inline constexpr std::chrono::seconds patience(30);

/// Runs tasks of the main queue on this thread until `isDone`; false when that takes too long.
bool pumpUntil(const std::function<bool()>& isDone);

/// Holds threads up until it is opened. The destructor opens it.
class Gate {
public:
    Gate() = default;
    Gate(const Gate&) = delete;
    Gate& operator=(const Gate&) = delete;

    ~Gate() { open(); }

    void open() {
        isOpen_ = true;
        isOpen_.notify_all();
    }

    /// Notes an arrival and waits until the gate is open.
    void pass() {
        arrivals_.release();
        isOpen_.wait(false);
    }

    /// Waits for the next arrival; false when nobody comes.
    bool awaitArrival() { return arrivals_.try_acquire_for(patience); }

private:
    std::atomic<bool> isOpen_ = false;
    std::counting_semaphore<> arrivals_{0};
};

} // namespace cirrus::tests
