#pragma once

#include <semaphore.h>

namespace cirrus {

/// Counts calls of `wake` until a `wait` takes them. The thread that waits on a condition variable
/// takes its mutex back as contended, which costs one more system call each time; this does not.
class Wakeup {
public:
    Wakeup() { ::sem_init(&semaphore_, 0, 0); }

    Wakeup(const Wakeup&) = delete;
    Wakeup& operator=(const Wakeup&) = delete;

    ~Wakeup() { ::sem_destroy(&semaphore_); }

    void wake() { ::sem_post(&semaphore_); }

    /// Takes one call, waiting for it.
    void wait() {
        while (::sem_wait(&semaphore_) != 0) {
            // A signal of the host's came between.
        }
    }

    /// Takes one call if there is one.
    void takeOne() { static_cast<void>(::sem_trywait(&semaphore_)); }

private:
    sem_t semaphore_{};
};

} // namespace cirrus
