#pragma once

#include <atomic>
#include <boost/asio.hpp>
#include <chrono>
#include <cstdint>
#include <future>
#include <memory>
#include <optional>
#include <thread>

#include <Cirrus/emulator/HttpMessage.h>

namespace cirrus::tests {

/// A bad network: a TCP relay on 127.0.0.1 in front of an emulator. Bytes pass unchanged, TLS and
/// all. It reads from a client only what it can pass on soon, so the client's system sees bytes
/// acknowledged about as fast as they pass. Safe from any thread.
class Relay {
public:
    /// Listens on a free port and passes every connection on to `serverPort`. Throws if the system
    /// refuses.
    explicit Relay(std::uint16_t serverPort);
    /// Ends all connections.
    ~Relay();
    Relay(const Relay&) = delete;
    Relay& operator=(const Relay&) = delete;

    /// The port on 127.0.0.1 that it listens on.
    [[nodiscard]] std::uint16_t port() const { return acceptor_.local_endpoint().port(); }

    /// How many bytes a second pass in each direction of each connection.
    void limitRate(std::uint64_t bytesPerSecond) { rate_ = bytesPerSecond; }

    /// Lets this many more bytes of the clients pass. The connection that the next byte comes from
    /// is then broken, and only that one: `keepOpen` silences it in both directions for good,
    /// `close` ends it towards the client with TCP's orderly end but none of TLS, `reset` resets
    /// it.
    void breakAfter(std::uint64_t bytes, emulator::Ending ending);

    /// Waits until the server has ended a connection and the client's system knows; false if that
    /// takes longer than the limit.
    [[nodiscard]] bool waitUntilServerEnds(std::chrono::milliseconds limit) const;

private:
    struct Connection;
    boost::asio::awaitable<void> accept();
    boost::asio::awaitable<void> pass(std::shared_ptr<Connection> connection, bool isFromClient);
    std::size_t takeUntilBreak(std::size_t count);

    const boost::asio::ip::tcp::endpoint server_;
    std::atomic<std::uint64_t> rate_ = 0; // 0 for no limit
    std::promise<void> serverEnd_;
    const std::shared_future<void> serverEnded_ = serverEnd_.get_future().share();

    // Used on the relay's thread only.
    std::optional<std::uint64_t> bytesUntilBreak_;
    emulator::Ending ending_ = emulator::Ending::keepOpen;
    bool hasServerEnded_ = false;

    boost::asio::io_context context_{1};
    boost::asio::ip::tcp::acceptor acceptor_{context_, boost::asio::ip::tcp::v4()};
    std::thread thread_;
};

} // namespace cirrus::tests
