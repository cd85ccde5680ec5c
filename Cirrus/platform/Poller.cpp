#include "Cirrus/platform/Poller.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>

namespace cirrus {

namespace {

std::uint32_t eventsOf(Poller::Interest interest) {
    switch (interest) {
    case Poller::Interest::read:
        return EPOLLIN;
    case Poller::Interest::write:
        return EPOLLOUT;
    case Poller::Interest::readAndWrite:
        return EPOLLIN | EPOLLOUT;
    case Poller::Interest::none:
        break;
    }
    return 0;
}

int waitTime(std::optional<std::chrono::milliseconds> timeout) {
    if (!timeout) {
        return -1;
    }
    constexpr std::chrono::milliseconds::rep longest = std::numeric_limits<int>::max();
    return static_cast<int>(
        std::clamp<std::chrono::milliseconds::rep>(timeout->count(), 0, longest));
}

} // namespace

Poller::Poller()
    : epoll_(::epoll_create1(EPOLL_CLOEXEC)), wakeup_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    // Each call of `wake` is an event of its own then, and the count need not be taken back.
    epoll_event event{};
    event.events = EPOLLIN | EPOLLET;
    event.data.fd = wakeup_;
    ::epoll_ctl(epoll_, EPOLL_CTL_ADD, wakeup_, &event);
}

Poller::~Poller() {
    ::close(wakeup_);
    ::close(epoll_);
}

void Poller::watch(int socket, Interest interest) {
    auto& watched = watched_[socket];
    watched.wanted = interest;
    registerInterest(socket, watched, interest);
    if (interest == Interest::none) {
        watched_.erase(socket);
    }
}

void Poller::pause(int socket) {
    watched_[socket].wanted = Interest::none;
}

void Poller::resume(int socket, Interest interest) {
    auto& watched = watched_[socket];
    watched.wanted = interest;
    if (watched.registered != interest) {
        registerInterest(socket, watched, interest);
    }
}

void Poller::registerInterest(int socket, Watched& watched, Interest interest) const {
    watched.registered = interest;
    if (interest == Interest::none) {
        // Fails harmlessly when the socket is closed already.
        ::epoll_ctl(epoll_, EPOLL_CTL_DEL, socket, nullptr);
        return;
    }
    epoll_event event{};
    event.events = eventsOf(interest);
    event.data.fd = socket;
    if (::epoll_ctl(epoll_, EPOLL_CTL_MOD, socket, &event) != 0) {
        ::epoll_ctl(epoll_, EPOLL_CTL_ADD, socket, &event);
    }
}

void Poller::wait(std::optional<std::chrono::milliseconds> timeout,
                  const std::function<void(const Event&)>& handle) {
    std::array<epoll_event, 64> ready{};
    const int count =
        ::epoll_wait(epoll_, ready.data(), static_cast<int>(ready.size()), waitTime(timeout));
    for (int index = 0; index < count; ++index) {
        const auto& event = ready.at(static_cast<std::size_t>(index));
        pass({.socket = event.data.fd,
              .canRead = (event.events & (EPOLLIN | EPOLLHUP | EPOLLRDHUP)) != 0,
              .canWrite = (event.events & EPOLLOUT) != 0,
              .hasFailed = (event.events & EPOLLERR) != 0},
             handle);
    }
}

void Poller::pass(const Event& event, const std::function<void(const Event&)>& handle) {
    const auto found = watched_.find(event.socket);
    if (found == watched_.end()) {
        return; // `wake`
    }
    if (found->second.wanted == Interest::none) {
        registerInterest(event.socket, found->second, Interest::none);
    } else {
        handle(event);
    }
}

void Poller::wake() {
    ::eventfd_write(wakeup_, 1);
}

} // namespace cirrus
