#include "Cirrus/platform/threads/LibraryThread.h"

#include <csignal>
#include <ctime>
#include <memory>
#include <system_error>
#include <utility>

namespace cirrus {

namespace {

thread_local bool isOurs = false;

timespec after(std::chrono::milliseconds time) {
    const auto end = std::chrono::system_clock::now().time_since_epoch() + time;
    const auto seconds = std::chrono::floor<std::chrono::seconds>(end);
    return {.tv_sec = seconds.count(), .tv_nsec = std::chrono::nanoseconds(end - seconds).count()};
}

using Body = std::function<void()>;

void* run(void* parameter) {
    const std::unique_ptr<Body> body(static_cast<Body*>(parameter));
    isOurs = true;
    (*body)();
    return nullptr;
}

} // namespace

LibraryThread::LibraryThread(Body body) {
    auto parameter = std::make_unique<Body>(std::move(body));
    // A thread inherits the mask of its creator, so there is no moment in which it has another.
    sigset_t all;
    sigset_t before;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before);
    const int failure = ::pthread_create(&thread_, nullptr, run, parameter.get());
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    if (failure != 0) {
        throw std::system_error(failure, std::generic_category());
    }
    // NOLINTNEXTLINE(bugprone-unused-return-value): the thread has it now
    parameter.release();
}

LibraryThread::~LibraryThread() {
    if (!isJoined_) {
        ::pthread_detach(thread_);
    }
}

bool LibraryThread::join(std::chrono::milliseconds bound) {
    // A "done" flag would come too early: libcurl and OpenSSL free their thread-local data after
    // the thread's function has returned.
    const auto deadline = after(bound);
    isJoined_ =
        isJoined_ || (!isCurrent() && ::pthread_timedjoin_np(thread_, nullptr, &deadline) == 0);
    return isJoined_;
}

bool isLibraryThread() {
    return isOurs;
}

} // namespace cirrus
