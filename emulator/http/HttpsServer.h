#pragma once

#include <cstdint>
#include <expected>
#include <memory>

#include "emulator/Crypto.h"
#include "emulator/http/HttpWire.h"
#include <Cirrus/emulator/EmulatorError.h>

namespace cirrus::emulator {

/// An HTTP/1.1 server with TLS 1.2 or later on 127.0.0.1, with one thread for each connection.
/// There is no idle timeout: connections stay open until the client closes them.
class HttpsServer {
public:
    /// Listens on this port, or on a free one if it is 0. A server that reads slowly lets the
    /// system take little in advance. The delegate has to outlive the server.
    [[nodiscard]] static std::expected<std::unique_ptr<HttpsServer>, EmulatorError>
    start(std::uint16_t port, bool readsSlowly, const ServerIdentity& identity,
          ServerDelegate& delegate);

    /// Closes all connections and waits for their threads, and so for calls to the delegate that
    /// still run.
    ~HttpsServer();
    HttpsServer(const HttpsServer&) = delete;
    HttpsServer& operator=(const HttpsServer&) = delete;

    [[nodiscard]] std::uint16_t port() const;

private:
    class Listener;
    explicit HttpsServer(std::unique_ptr<Listener> listener);

    std::unique_ptr<Listener> listener_;
};

} // namespace cirrus::emulator
