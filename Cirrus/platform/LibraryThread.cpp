#include "Cirrus/platform/LibraryThread.h"

#include <csignal>
#include <thread>
#include <utility>

namespace cirrus {

namespace {

thread_local bool isOurs = false;

} // namespace

void startLibraryThread(std::function<void()> body) {
    // A thread inherits the mask of its creator, so there is no moment in which it has another.
    sigset_t all;
    sigset_t before;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before);
    std::thread([body = std::move(body)] {
        isOurs = true;
        body();
    }).detach();
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

bool isLibraryThread() {
    return isOurs;
}

} // namespace cirrus
