#pragma once

#include <optional>
#include <vector>

#include "Cirrus/platform/http/Sockets.h"

namespace cirrus {

class CurlTransfer;

/// The sockets of all connections, in use or kept for reuse, and which transfer uses each. Needed
/// because libcurl does not say which socket a transfer has. Used on the network thread.
class ConnectionTable {
public:
    /// Opens a socket for this transfer; negative if the system refuses.
    [[nodiscard]] int open(int family, int type, int protocol, const CurlTransfer& user);

    void close(int socket);

    /// Gives the kept connection with this local port to a transfer. Returns its socket, or -1 if
    /// it cannot be told which one it is: connections to two servers may have the same port.
    int use(int localPort, const CurlTransfer& user);

    /// The transfer has ended; its connections may be kept.
    void release(const CurlTransfer& user);

    /// What has moved on the connections of a transfer, several while it tries more than one
    /// address; nullopt if the system does not count it.
    [[nodiscard]] std::optional<Traffic> traffic(const CurlTransfer& user) const;

private:
    struct Connection {
        int socket;
        int localPort;            ///< 0 until somebody has asked for it
        const CurlTransfer* user; ///< null while the connection is only kept
    };

    std::vector<Connection> connections_;
};

} // namespace cirrus
