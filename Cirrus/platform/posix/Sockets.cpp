#include "Cirrus/platform/http/Sockets.h"

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace cirrus::sockets {

void close(int socket) {
    ::close(socket);
}

int localPort(int socket) {
    sockaddr_storage address{};
    socklen_t length = sizeof(address);
    ::getsockname(socket, reinterpret_cast<sockaddr*>(&address), &length);
    // The port is at the same place in the addresses of both families.
    return ntohs(reinterpret_cast<const sockaddr_in*>(&address)->sin_port);
}

bool hasInput(int socket) {
    pollfd awaited{.fd = socket, .events = POLLIN, .revents = 0};
    return ::poll(&awaited, 1, 0) != 0; // an error too is no good sign
}

} // namespace cirrus::sockets
