#include "Cirrus/platform/http/Sockets.h"

#include <winsock2.h>

namespace cirrus::sockets {

// A socket fits into an int: Windows promises that 32 bits of a handle tell all.

int open(int family, int type, int protocol) {
    const SOCKET socket = ::WSASocketW(family, type, protocol, nullptr, 0,
                                       WSA_FLAG_OVERLAPPED | WSA_FLAG_NO_HANDLE_INHERIT);
    // Bounds what is acknowledged too, and with it the speed of a fast line that is also long.
    const int limit = 128 * 1024;
    static_cast<void>(::setsockopt(socket, SOL_SOCKET, SO_SNDBUF,
                                   reinterpret_cast<const char*>(&limit), sizeof(limit)));
    return static_cast<int>(socket);
}

std::optional<Traffic> traffic(int) {
    return std::nullopt;
}

void close(int socket) {
    ::closesocket(static_cast<SOCKET>(socket));
}

int localPort(int socket) {
    sockaddr_storage address{};
    int length = sizeof(address);
    ::getsockname(static_cast<SOCKET>(socket), reinterpret_cast<sockaddr*>(&address), &length);
    // The port is at the same place in the addresses of both families.
    return ::ntohs(reinterpret_cast<const sockaddr_in*>(&address)->sin_port);
}

bool hasInput(int socket) {
    WSAPOLLFD awaited{.fd = static_cast<SOCKET>(socket), .events = POLLIN, .revents = 0};
    return ::WSAPoll(&awaited, 1, 0) != 0; // an error too is no good sign
}

} // namespace cirrus::sockets
