#include "Cirrus/platform/http/ConnectionTable.h"

#include <algorithm>

namespace cirrus {

int ConnectionTable::open(int family, int type, int protocol, const CurlTransfer& user) {
    const int socket = sockets::open(family, type, protocol);
    if (socket >= 0) {
        // libcurl does not report every socket that it closes, and numbers are reused.
        std::erase_if(connections_, [socket](const auto& held) { return held.socket == socket; });
        connections_.push_back({.socket = socket, .localPort = 0, .user = &user});
    }
    return socket;
}

void ConnectionTable::close(int socket) {
    std::erase_if(connections_, [socket](const auto& held) { return held.socket == socket; });
    sockets::close(socket);
}

int ConnectionTable::use(int localPort, const CurlTransfer& user) {
    const auto hasPort = [localPort](auto& held) {
        held.localPort = held.localPort != 0 ? held.localPort : sockets::localPort(held.socket);
        return held.localPort == localPort;
    };
    const auto found = std::ranges::find_if(connections_, hasPort);
    if (found == connections_.end() || std::any_of(found + 1, connections_.end(), hasPort)) {
        return -1;
    }
    found->user = &user;
    return found->socket;
}

void ConnectionTable::release(const CurlTransfer& user) {
    for (auto& connection : connections_) {
        if (connection.user == &user) {
            connection.user = nullptr;
        }
    }
}

std::optional<Traffic> ConnectionTable::traffic(const CurlTransfer& user) const {
    std::optional<Traffic> sum;
    for (const auto& connection : connections_) {
        const auto moved =
            connection.user == &user ? sockets::traffic(connection.socket) : std::nullopt;
        if (moved) {
            auto& total = sum ? *sum : sum.emplace();
            total.acknowledged += moved->acknowledged;
            total.received += moved->received;
            total.read += moved->read;
        }
    }
    return sum;
}

} // namespace cirrus
