#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <unordered_map>

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

    /// Passes on no events of a socket until it is watched again, but leaves it with the system,
    /// which forgets it when it is closed or when something happens on it.
    void pause(int socket);

    /// Like `watch`, for a paused socket that was not closed since: costs nothing when the interest
    /// is the one from before.
    void resume(int socket, Interest interest);

    /// Waits until something happens, at most `timeout` (for ever without one), and calls
    /// `handle` for each socket that is ready.
    void wait(std::optional<std::chrono::milliseconds> timeout,
              const std::function<void(const Event&)>& handle);

    /// Ends the current `wait`, or else the next one. Safe from any thread.
    void wake();

private:
    struct Watched {
        Interest wanted = Interest::none;
        Interest registered = Interest::none; ///< with the system
    };

    void registerInterest(int socket, Watched& watched, Interest interest) const;
    void pass(const Event& event, const std::function<void(const Event&)>& handle);

    int epoll_;
    int wakeup_;
    std::unordered_map<int, Watched> watched_;
};

} // namespace cirrus
