#pragma once

#include <pthread.h>

#include <chrono>
#include <functional>

namespace cirrus {

/// A thread of the library, with every signal blocked, since signals belong to the host.
class LibraryThread {
public:
    explicit LibraryThread(std::function<void()> body);
    LibraryThread(const LibraryThread&) = delete;
    LibraryThread& operator=(const LibraryThread&) = delete;
    /// Detaches the thread unless it was joined.
    ~LibraryThread();

    /// Waits until the thread has ended and its thread-local data is freed, but no longer than
    /// `bound`, and not if it is the caller. False if it may still be there.
    bool join(std::chrono::milliseconds bound);

    /// Whether it is the calling thread.
    [[nodiscard]] bool isCurrent() const { return ::pthread_equal(thread_, ::pthread_self()) != 0; }

private:
    pthread_t thread_{};
    bool isJoined_ = false;
};

/// Whether the calling thread is a `LibraryThread`.
[[nodiscard]] bool isLibraryThread();

} // namespace cirrus
