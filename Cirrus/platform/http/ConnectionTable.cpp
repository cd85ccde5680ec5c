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

void ConnectionTable::didConnect(int localPort, const CurlTransfer& user) {
    for (auto& connection : connections_) {
        if (connection.user == &user && sockets::localPort(connection.socket) == localPort) {
            connection.localPort = localPort;
        } else if (connection.localPort == localPort) {
            connection.localPort = 0; // closed without a report
        }
    }
}

int ConnectionTable::reuse(int localPort, const CurlTransfer& user) {
    const auto found = std::ranges::find(connections_, localPort, &Connection::localPort);
    if (found == connections_.end()) {
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
            const auto before = sum.value_or(Traffic());
            sum = {.acknowledged = before.acknowledged + moved->acknowledged,
                   .received = before.received + moved->received,
                   .read = before.read + moved->read};
        }
    }
    return sum;
}

} // namespace cirrus
