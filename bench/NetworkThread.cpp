#include "bench/NetworkThread.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <span>
#include <utility>

namespace cirrus::bench {

namespace {

/// How often the library looks whether a transfer still moves, in milliseconds.
constexpr long lookInterval = 125;

void takeOne(sem_t& semaphore) {
    while (::sem_wait(&semaphore) != 0) {
        // A signal came between.
    }
}

unsigned eventsOf(int what) {
    const bool reads = what == CURL_POLL_IN || what == CURL_POLL_INOUT;
    const bool writes = what == CURL_POLL_OUT || what == CURL_POLL_INOUT;
    return (reads ? EPOLLIN : 0U) | (writes ? EPOLLOUT : 0U);
}

} // namespace

NetworkThread::NetworkThread()
    : multi_(curl_multi_init()),
      epoll_(::epoll_create1(EPOLL_CLOEXEC)),
      wakeup_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    ::sem_init(&isDone_, 0, 0);
    ::sem_init(&mainThreadHasNews_, 0, 0);
    epoll_event event{};
    event.events = EPOLLIN | EPOLLET;
    event.data.fd = wakeup_;
    ::epoll_ctl(epoll_, EPOLL_CTL_ADD, wakeup_, &event);
    curl_multi_setopt(multi_, CURLMOPT_SOCKETFUNCTION, &NetworkThread::socketChanged);
    curl_multi_setopt(multi_, CURLMOPT_SOCKETDATA, this);
    curl_multi_setopt(multi_, CURLMOPT_TIMERFUNCTION, &NetworkThread::timerChanged);
    curl_multi_setopt(multi_, CURLMOPT_TIMERDATA, this);
    thread_ = std::jthread([this] { run(); });
    mainThread_ = std::jthread([this] { runMainThread(); });
}

NetworkThread::~NetworkThread() {
    isStopping_ = true;
    ::eventfd_write(wakeup_, 1);
    ::sem_post(&mainThreadHasNews_);
    thread_.join();
    mainThread_.join();
    curl_multi_cleanup(multi_);
    ::close(wakeup_);
    ::close(epoll_);
    ::sem_destroy(&isDone_);
    ::sem_destroy(&mainThreadHasNews_);
}

CURLcode NetworkThread::perform(CURL* easy) {
    submitted_ = easy;
    ::eventfd_write(wakeup_, 1);
    takeOne(isDone_);
    return code_;
}

void NetworkThread::run() {
    while (!isStopping_) {
        wait();
        do {
            begin();
        } while (collect());
    }
}

void NetworkThread::runMainThread() {
    while (!isStopping_) {
        takeOne(mainThreadHasNews_);
    }
}

void NetworkThread::wait() {
    long limit = -1;
    if (current_ != nullptr) {
        limit = timer_ < 0 ? lookInterval : std::min(timer_, lookInterval);
    }
    std::array<epoll_event, 8> ready{};
    const int count =
        ::epoll_wait(epoll_, ready.data(), static_cast<int>(ready.size()), static_cast<int>(limit));
    if (count == 0) {
        act(CURL_SOCKET_TIMEOUT, 0);
    }
    for (const auto& event : std::span(ready).first(static_cast<std::size_t>(std::max(count, 0)))) {
        if (event.data.fd != wakeup_) {
            act(event.data.fd, ((event.events & EPOLLIN) != 0 ? CURL_CSELECT_IN : 0) |
                                   ((event.events & EPOLLOUT) != 0 ? CURL_CSELECT_OUT : 0));
        }
    }
}

void NetworkThread::begin() {
    if (CURL* const easy = submitted_.exchange(nullptr)) {
        current_ = easy;
        curl_multi_add_handle(multi_, easy);
    }
    if (timer_ == 0) {
        timer_ = -1;
        act(CURL_SOCKET_TIMEOUT, 0);
    }
}

/// Whether the request has ended.
bool NetworkThread::collect() {
    int left = 0;
    const CURLMsg* const message = curl_multi_info_read(multi_, &left);
    if (message == nullptr) {
        return false;
    }
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-union-access): libcurl's interface
    code_ = message->data.result;
    curl_multi_remove_handle(multi_, std::exchange(current_, nullptr));
    ::sem_post(&isDone_);
    return true;
}

void NetworkThread::act(curl_socket_t socket, int events) {
    int running = 0;
    curl_multi_socket_action(multi_, socket, events, &running);
}

int NetworkThread::socketChanged(CURL*, curl_socket_t socket, int what, void* self, void*) {
    auto& thread = *static_cast<NetworkThread*>(self);
    const unsigned wanted = eventsOf(what);
    // A kept connection is soon read from again.
    if (wanted == thread.registered_ || (wanted == 0 && thread.registered_ == EPOLLIN)) {
        return 0;
    }
    epoll_event event{};
    event.events = wanted;
    event.data.fd = socket;
    const int change = wanted == 0               ? EPOLL_CTL_DEL
                       : thread.registered_ == 0 ? EPOLL_CTL_ADD
                                                 : EPOLL_CTL_MOD;
    ::epoll_ctl(thread.epoll_, change, socket, &event);
    thread.registered_ = wanted;
    return 0;
}

int NetworkThread::timerChanged(CURLM*, long milliseconds, void* self) {
    static_cast<NetworkThread*>(self)->timer_ = milliseconds;
    return 0;
}

} // namespace cirrus::bench
