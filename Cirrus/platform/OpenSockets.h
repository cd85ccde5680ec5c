#pragma once

#include <vector>

namespace cirrus {

/// The sockets of all connections, those in use and those that are kept. All on one thread.
class OpenSockets {
public:
    /// Opens a socket that keeps little unsent data in the kernel, so that what counts as sent has
    /// nearly left the machine; -1 when the system refuses.
    [[nodiscard]] int open(int family, int type, int protocol);
    void close(int socket);

    /// Whether something has arrived from the peer, its end included, on the connection from this
    /// local port.
    [[nodiscard]] bool hasInput(int localPort);

private:
    struct OpenSocket {
        int descriptor = -1;
        int localPort = 0; ///< 0 until it was looked up
    };

    std::vector<OpenSocket> sockets_;
};

} // namespace cirrus
