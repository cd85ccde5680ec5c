#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

namespace cirrus {

/// Knows for how long nothing has moved on the connection of one exchange. What moves is what the
/// system's TCP has seen acknowledged or received: bytes merely handed to the kernel do not count,
/// handshakes and parts of encrypted records do. All on one thread.
class IdleWatch {
public:
    using Clock = std::chrono::steady_clock;

    explicit IdleWatch(std::chrono::milliseconds limit) : limit_(limit) {}

    [[nodiscard]] std::chrono::milliseconds limit() const { return limit_; }

    void add(int socket);
    void remove(int socket);

    /// Looks at the connection; true when nothing has moved for the limit, by the looks so far.
    /// `transportCount` stands in where the system does not count: any number that changes when
    /// bytes are sent or received.
    [[nodiscard]] bool hasIdledOut(Clock::time_point now, std::uint64_t transportCount);

private:
    [[nodiscard]] std::optional<std::uint64_t> systemCount() const;

    std::chrono::milliseconds limit_;
    std::vector<int> sockets_;
    std::uint64_t lastCount_ = 0;
    Clock::time_point lastMoved_ = Clock::now();
};

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
