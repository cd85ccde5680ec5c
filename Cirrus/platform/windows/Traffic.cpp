#include <winsock2.h>

#include "Cirrus/platform/http/Sockets.h"

namespace cirrus::sockets {

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

} // namespace cirrus::sockets
