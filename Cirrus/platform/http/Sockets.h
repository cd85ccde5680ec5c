#pragma once

#include <cstdint>
#include <optional>

namespace cirrus {

/// Bytes that have moved on a connection, as TCP counts them, encryption included.
struct Traffic {
    std::uint64_t acknowledged = 0; ///< sent, and the peer's system has it
    std::uint64_t received = 0;
    std::uint64_t read = 0; ///< received, and taken from the system
};

namespace sockets {

/// Opens a socket that is closed on exec and keeps little unsent data in the kernel, so that what
/// counts as sent has nearly left the machine. Negative if the system refuses.
[[nodiscard]] int open(int family, int type, int protocol);

void close(int socket);

/// The port that a socket is bound to; 0 if it has none.
[[nodiscard]] int localPort(int socket);

/// Whether the peer has sent something that was not read yet, or has ended the connection.
[[nodiscard]] bool hasInput(int socket);

/// Nullopt if the system does not count it.
[[nodiscard]] std::optional<Traffic> traffic(int socket);

} // namespace sockets

} // namespace cirrus
