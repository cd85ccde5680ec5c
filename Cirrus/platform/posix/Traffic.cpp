#include <fcntl.h>
#include <sys/socket.h>

#include "Cirrus/platform/http/Sockets.h"

namespace cirrus::sockets {

int open(int family, int type, int protocol) {
    const int socket = ::socket(family, type, protocol);
    // A process that another thread starts between the two calls inherits the socket.
    static_cast<void>(::fcntl(socket, F_SETFD, FD_CLOEXEC));
    // Bounds what is acknowledged too, and with it the speed of a fast line that is also long.
    const int limit = 128 * 1024;
    static_cast<void>(::setsockopt(socket, SOL_SOCKET, SO_SNDBUF, &limit, sizeof(limit)));
    return socket;
}

std::optional<Traffic> traffic(int) {
    return std::nullopt;
}

} // namespace cirrus::sockets
