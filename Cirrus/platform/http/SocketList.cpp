#include "Cirrus/platform/http/SocketList.h"

#include <algorithm>

#include "Cirrus/platform/http/Sockets.h"

namespace cirrus {

int SocketList::open(int family, int type, int protocol) {
    const int socket = sockets::open(family, type, protocol);
    // libcurl does not report every socket that it closes, and numbers are reused.
    std::erase(sockets_, socket);
    if (socket >= 0) {
        sockets_.push_back(socket);
    }
    return socket;
}

void SocketList::close(int socket) {
    std::erase(sockets_, socket);
    sockets::close(socket);
}

int SocketList::withLocalPort(int port) const {
    const auto found = std::ranges::find(sockets_, port, sockets::localPort);
    return found != sockets_.end() ? *found : -1;
}

} // namespace cirrus
