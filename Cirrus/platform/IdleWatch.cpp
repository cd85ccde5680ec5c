#include "Cirrus/platform/IdleWatch.h"

#include <linux/tcp.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <utility>

namespace cirrus {

namespace {

std::optional<std::uint64_t> bytesMoved(int socket) {
    tcp_info info{};
    socklen_t length = sizeof(info);
    constexpr std::size_t needed =
        offsetof(tcp_info, tcpi_bytes_received) + sizeof(info.tcpi_bytes_received);
    if (::getsockopt(socket, IPPROTO_TCP, TCP_INFO, &info, &length) != 0 || length < needed) {
        return std::nullopt;
    }
    return info.tcpi_bytes_acked + info.tcpi_bytes_received;
}

/// 0 when it has none.
int localPortOf(int socket) {
    sockaddr_storage address{};
    socklen_t length = sizeof(address);
    ::getsockname(socket, reinterpret_cast<sockaddr*>(&address), &length);
    // The port stands at the same place in the addresses of both families.
    return ntohs(reinterpret_cast<const sockaddr_in*>(&address)->sin_port);
}

} // namespace

void IdleWatch::add(int socket) {
    remove(socket);
    sockets_.push_back(socket);
}

void IdleWatch::remove(int socket) {
    std::erase(sockets_, socket);
}

bool IdleWatch::hasIdledOut(Clock::time_point now, std::uint64_t transportCount) {
    const auto count = systemCount().value_or(transportCount);
    if (std::exchange(lastCount_, count) != count) {
        lastMoved_ = now;
    }
    return now - lastMoved_ >= limit_;
}

std::optional<std::uint64_t> IdleWatch::systemCount() const {
    std::optional<std::uint64_t> sum;
    for (const int socket : sockets_) {
        if (const auto moved = bytesMoved(socket)) {
            sum = sum.value_or(0) + *moved;
        }
    }
    return sum;
}

int OpenSockets::open(int family, int type, int protocol) {
    const int socket = ::socket(family, type | SOCK_CLOEXEC, protocol);
    if (socket >= 0) {
        const int limit = 128 * 1024;
        // Only a refinement: where the system does not have it, nothing is lost.
        static_cast<void>(
            ::setsockopt(socket, IPPROTO_TCP, TCP_NOTSENT_LOWAT, &limit, sizeof(limit)));
        sockets_.push_back({.descriptor = socket});
    }
    return socket;
}

void OpenSockets::close(int socket) {
    std::erase_if(sockets_, [socket](const auto& held) { return held.descriptor == socket; });
    ::close(socket);
}

bool OpenSockets::hasInput(int localPort) {
    return std::ranges::any_of(sockets_, [localPort](OpenSocket& socket) {
        if (socket.localPort == 0) {
            socket.localPort = localPortOf(socket.descriptor);
        }
        pollfd awaited{.fd = socket.descriptor, .events = POLLIN, .revents = 0};
        return socket.localPort == localPort && ::poll(&awaited, 1, 0) > 0;
    });
}

} // namespace cirrus
