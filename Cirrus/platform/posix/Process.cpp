#include "Cirrus/platform/threads/Process.h"

#include <unistd.h>

#include <csignal>
#include <memory>

namespace cirrus {

std::uint64_t currentProcess() {
    return static_cast<std::uint64_t>(::getpid());
}

void keepLibraryLoaded() {}

void withSignalsBlocked(const std::function<void()>& action) {
    sigset_t all;
    sigset_t before;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before);
    const auto restore = [](const sigset_t* mask) {
        ::pthread_sigmask(SIG_SETMASK, mask, nullptr);
    };
    const std::unique_ptr<sigset_t, void (*)(const sigset_t*)> restored(&before, restore);
    action();
}

} // namespace cirrus
