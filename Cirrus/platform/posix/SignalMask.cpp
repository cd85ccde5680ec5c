#include "Cirrus/platform/threads/SignalMask.h"

#include <csignal>

namespace cirrus {

namespace {

class AllBlocked {
public:
    AllBlocked() {
        sigset_t all;
        ::sigfillset(&all);
        ::pthread_sigmask(SIG_SETMASK, &all, &before_);
    }

    AllBlocked(const AllBlocked&) = delete;
    AllBlocked& operator=(const AllBlocked&) = delete;

    ~AllBlocked() { ::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

private:
    sigset_t before_{};
};

} // namespace

void withSignalsBlocked(const std::function<void()>& action) {
    const AllBlocked blocked;
    action();
}

} // namespace cirrus
