// Not <netinet/tcp.h>, whose tcp_info lacks the byte counts.
#include <linux/tcp.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <cstddef>

#include "Cirrus/platform/http/Sockets.h"

namespace cirrus::sockets {

int open(int family, int type, int protocol) {
    const int socket = ::socket(family, type | SOCK_CLOEXEC, protocol);
    const int limit = 128 * 1024;
    static_cast<void>(::setsockopt(socket, IPPROTO_TCP, TCP_NOTSENT_LOWAT, &limit, sizeof(limit)));
    return socket;
}

std::optional<Traffic> traffic(int socket) {
    // In this order, bytes that arrive in between count as read, never the other way round.
    int unread = 0;
    static_cast<void>(::ioctl(socket, FIONREAD, &unread));
    tcp_info info{};
    socklen_t length = sizeof(info);
    constexpr std::size_t needed =
        offsetof(tcp_info, tcpi_bytes_received) + sizeof(info.tcpi_bytes_received);
    if (::getsockopt(socket, IPPROTO_TCP, TCP_INFO, &info, &length) != 0 || length < needed) {
        return std::nullopt;
    }
    return Traffic{.acknowledged = info.tcpi_bytes_acked,
                   .received = info.tcpi_bytes_received,
                   .read = info.tcpi_bytes_received - static_cast<std::uint64_t>(unread)};
}

} // namespace cirrus::sockets
