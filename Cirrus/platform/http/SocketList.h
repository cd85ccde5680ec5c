#pragma once

#include <vector>

namespace cirrus {

/// The sockets of all connections, in use or kept for reuse. Needed because libcurl does not say
/// which socket a transfer has. Used on the network thread.
class SocketList {
public:
    /// Opens a socket; negative if the system refuses.
    [[nodiscard]] int open(int family, int type, int protocol);

    void close(int socket);

    /// The socket that is bound to this port; -1 if there is none.
    [[nodiscard]] int withLocalPort(int port) const;

private:
    std::vector<int> sockets_;
};

} // namespace cirrus
