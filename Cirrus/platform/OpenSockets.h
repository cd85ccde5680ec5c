#pragma once

#include <vector>

#include "Cirrus/platform/Poller.h"

namespace cirrus {

/// The sockets of all connections, those in use and those that are kept. All on one thread.
class OpenSockets {
public:
    explicit OpenSockets(Poller& poller) : poller_(poller) {}

    /// Opens a socket that keeps little unsent data in the kernel, so that what counts as sent has
    /// nearly left the machine; -1 when the system refuses.
    [[nodiscard]] int open(int family, int type, int protocol);
    void close(int socket);

    /// Has the poller watch any socket of libcurl's. Those opened here are only paused between two
    /// requests, since the next is soon to come.
    void watch(int socket, Poller::Interest interest);

    /// Whether something has arrived from the peer, its end included, on the connection from this
    /// local port, which is about to be used again.
    [[nodiscard]] bool hasInput(int localPort);

private:
    struct OpenSocket {
        int descriptor = -1;
        int localPort = 0; ///< 0 until it was looked up
        bool isUsedAgain = false;
    };

    void drop(int socket);

    Poller& poller_;
    std::vector<OpenSocket> sockets_;
};

} // namespace cirrus
