#pragma once

#include <cstdint>
#include <optional>

namespace cirrus::sockets {

/// Opens a socket that is closed on exec and keeps little unsent data in the kernel, so that what
/// counts as sent has nearly left the machine. Negative if the system refuses.
[[nodiscard]] int open(int family, int type, int protocol);

void close(int socket);

/// The port that a socket is bound to; 0 if it has none.
[[nodiscard]] int localPort(int socket);

/// Whether the peer has sent something that was not read yet, or has ended the connection.
[[nodiscard]] bool hasInput(int socket);

/// The bytes that TCP saw acknowledged or received on a connection; nullopt if the system does not
/// count them.
[[nodiscard]] std::optional<std::uint64_t> bytesMoved(int socket);

} // namespace cirrus::sockets
