#pragma once

#include <chrono>
#include <functional>
#include <future>
#include <thread>

namespace cirrus {

/// A thread of the library, with every signal blocked, since signals belong to the host. Must be
/// joined before it is destroyed.
class LibraryThread {
public:
    /// Throws `std::system_error` if the system refuses a thread.
    explicit LibraryThread(std::function<void()> body);

    /// Waits until the thread has ended and its thread-local data is freed, but no longer than
    /// `bound`, and not if it is the caller. False if it may still be there.
    bool join(std::chrono::milliseconds bound);

    /// Whether it is the calling thread.
    [[nodiscard]] bool isCurrent() const { return thread_.get_id() == std::this_thread::get_id(); }

private:
    std::future<void> ended_;
    std::thread thread_;
};

/// Whether the calling thread is a `LibraryThread`.
[[nodiscard]] bool isLibraryThread();

} // namespace cirrus
