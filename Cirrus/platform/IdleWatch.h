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

    /// Watches another exchange from now on, without a connection as yet.
    void restart(std::chrono::milliseconds limit, Clock::time_point now);

    [[nodiscard]] std::chrono::milliseconds limit() const { return limit_; }

    void add(int socket);
    void remove(int socket);

    /// Looks at the connection; true when nothing has moved for the limit, by the looks so far.
    /// `transportCount` stands in where the system does not count: any number that changes when
    /// bytes are sent or received.
    [[nodiscard]] bool hasIdledOut(Clock::time_point now, std::uint64_t transportCount);

private:
    [[nodiscard]] std::optional<std::uint64_t> systemCount() const;

    std::chrono::milliseconds limit_{};
    std::vector<int> sockets_;
    std::uint64_t lastCount_ = 0;
    Clock::time_point lastMoved_;
};

} // namespace cirrus
