#pragma once

#include <chrono>
#include <cstdint>
#include <expected>
#include <memory>

#include "emulator/EmulatorError.h"
#include "emulator/HttpMessage.h"

namespace cirrus::emulator {

/// A bad network: a TCP relay on 127.0.0.1 in front of an emulator. Bytes pass as they are, TLS
/// and all. It reads no more from a client than it can pass on soon, so that the client's system
/// sees bytes acknowledged about as fast as they pass. Safe from any thread.
class Relay {
public:
    /// Listens on a free port; every connection to it goes on to `serverPort`.
    [[nodiscard]] static std::expected<std::unique_ptr<Relay>, EmulatorError>
    start(std::uint16_t serverPort);

    /// Ends all connections.
    ~Relay();
    Relay(const Relay&) = delete;
    Relay& operator=(const Relay&) = delete;

    /// The port on 127.0.0.1 that it listens on.
    [[nodiscard]] std::uint16_t port() const;

    /// How many bytes a second pass in each direction of each connection; 0 for no limit.
    void limitRate(std::uint64_t bytesPerSecond);

    /// Lets this many more bytes of the clients pass. The connection that the next byte comes
    /// from is then broken, and only that one: `keepOpen` silences it in both directions for good,
    /// `close` ends it towards the client with TCP's orderly end but none of TLS.
    void breakAfter(std::uint64_t bytes, Ending ending);

    /// Waits until the server has ended a connection and the client's system knows; false when
    /// that takes longer than the limit.
    [[nodiscard]] bool waitUntilServerEnds(std::chrono::milliseconds limit) const;

private:
    class Loop;
    explicit Relay(std::unique_ptr<Loop> loop);

    std::unique_ptr<Loop> loop_;
};

} // namespace cirrus::emulator
