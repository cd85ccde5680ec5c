#pragma once

#include <chrono>
#include <functional>
#include <optional>

namespace cirrus {

/// Waits on one thread for sockets to become ready, for a time to pass, or to be woken.
class Poller {
public:
    enum class Interest { none, read, write, readAndWrite };

    struct Event {
        int socket = -1;
        bool canRead = false;
        bool canWrite = false;
        bool hasFailed = false;
    };

    Poller();
    Poller(const Poller&) = delete;
    Poller& operator=(const Poller&) = delete;
    ~Poller();

    void watch(int socket, Interest interest);

    /// Waits until something happens, at most `timeout` (for ever without one), and calls
    /// `handle` for each socket that is ready.
    void wait(std::optional<std::chrono::milliseconds> timeout,
              const std::function<void(const Event&)>& handle);

    /// Ends the current `wait`, or else the next one. Safe from any thread.
    void wake();

private:
    int epoll_;
    int wakeup_;
};

} // namespace cirrus
