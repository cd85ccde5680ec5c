#include "Cirrus/platform/OpenSockets.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>

namespace cirrus {

namespace {

/// 0 when it has none.
int localPortOf(int socket) {
    sockaddr_storage address{};
    socklen_t length = sizeof(address);
    ::getsockname(socket, reinterpret_cast<sockaddr*>(&address), &length);
    // The port stands at the same place in the addresses of both families.
    return ntohs(reinterpret_cast<const sockaddr_in*>(&address)->sin_port);
}

} // namespace

int OpenSockets::open(int family, int type, int protocol) {
    const int socket = ::socket(family, type | SOCK_CLOEXEC, protocol);
    if (socket >= 0) {
        const int limit = 128 * 1024;
        // Only a refinement: where the system does not have it, nothing is lost.
        static_cast<void>(
            ::setsockopt(socket, IPPROTO_TCP, TCP_NOTSENT_LOWAT, &limit, sizeof(limit)));
        // One that libcurl closed unannounced may have had the same number.
        drop(socket);
        sockets_.push_back({.descriptor = socket});
    }
    return socket;
}

void OpenSockets::close(int socket) {
    drop(socket);
    ::close(socket);
}

void OpenSockets::drop(int socket) {
    std::erase_if(sockets_, [socket](const auto& held) { return held.descriptor == socket; });
    poller_.watch(socket, Poller::Interest::none);
}

void OpenSockets::watch(int socket, Poller::Interest interest) {
    const auto found = std::ranges::find(sockets_, socket, &OpenSocket::descriptor);
    const bool isOurs = found != sockets_.end();
    if (isOurs && interest == Poller::Interest::none) {
        // Often closed already: libcurl closes a socket that does not connect without a word.
        poller_.pause(socket);
    } else if (isOurs && found->isUsedAgain) {
        poller_.resume(socket, interest);
    } else {
        poller_.watch(socket, interest);
    }
}

bool OpenSockets::hasInput(int localPort) {
    return std::ranges::any_of(sockets_, [localPort](OpenSocket& socket) {
        if (socket.localPort == 0) {
            socket.localPort = localPortOf(socket.descriptor);
        }
        socket.isUsedAgain = socket.isUsedAgain || socket.localPort == localPort;
        pollfd awaited{.fd = socket.descriptor, .events = POLLIN, .revents = 0};
        return socket.localPort == localPort && ::poll(&awaited, 1, 0) > 0;
    });
}

} // namespace cirrus
