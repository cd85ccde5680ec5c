#pragma once

#include <cstdint>
#include <expected>
#include <memory>

#include "emulator/Crypto.h"
#include "emulator/EmulatorError.h"
#include "emulator/HttpExchange.h"

namespace cirrus::emulator {

/// An HTTP/1.1 server behind TLS 1.2 or later on 127.0.0.1, with one thread for every connection.
/// Connections stay open until the client leaves, however long they are idle.
class HttpsServer {
public:
    /// Listens on this port, or on a free one when it is 0. The delegate has to outlive the server.
    [[nodiscard]] static std::expected<std::unique_ptr<HttpsServer>, EmulatorError>
    start(std::uint16_t port, const ServerIdentity& identity, ServerDelegate& delegate);

    /// Cuts all connections off and waits for their threads; a call to the delegate that blocks
    /// has to be let go first.
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
