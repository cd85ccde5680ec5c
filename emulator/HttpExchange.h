#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <expected>
#include <optional>
#include <string_view>

#include "emulator/Content.h"
#include "emulator/HttpMessage.h"

namespace cirrus::emulator {

/// What a server tells and asks its owner. Called on the threads of the connections, at the same
/// time for different connections; a call that blocks holds up its own connection only.
class ServerDelegate {
public:
    ServerDelegate() = default;
    ServerDelegate(const ServerDelegate&) = delete;
    ServerDelegate& operator=(const ServerDelegate&) = delete;
    virtual ~ServerDelegate() = default;

    virtual void connectionAccepted() = 0;
    virtual void handshakeDone() = 0;
    virtual void connectionClosed() = 0;

    /// Before the body is read: an answer that does not wait for it, or nothing.
    virtual std::optional<Answer> answerToHead(const Request& head) = 0;
    /// What to remember of the body that follows.
    virtual ContentPolicy bodyPolicy(const Request& head) = 0;
    virtual void bodyBytesRead(std::uint64_t size) = 0;
    /// The reading of a request has ended, with or without the whole body. Returns its number.
    virtual std::size_t requestRead(const Request& request) = 0;
    virtual Answer answer(const Request& request) = 0;
    /// The answer to this request is about to be sent.
    virtual void answering(std::size_t request, unsigned status) = 0;
};

/// The server's end of one connection, request by request. Every call blocks; of one thread.
class HttpWire {
public:
    enum class HeadFailure { ended, malformed };

    HttpWire() = default;
    HttpWire(const HttpWire&) = delete;
    HttpWire& operator=(const HttpWire&) = delete;
    virtual ~HttpWire() = default;

    /// The next request without its body.
    virtual std::expected<Request, HeadFailure> readHead() = 0;
    /// Whether the body of the present request was read to its end.
    virtual bool bodyComplete() = 0;
    /// Some of the body, at most `most` bytes, valid until the next call. Nothing when the
    /// connection broke.
    virtual std::optional<std::string_view> readBody(std::uint64_t most) = 0;
    /// Whether another request may follow the present one.
    virtual bool keepsAlive() = 0;
    /// False when the connection broke.
    virtual bool write(std::string_view bytes) = 0;
    /// False when the connection ended before this time was over.
    virtual bool waitOut(std::chrono::milliseconds time) = 0;
    virtual void close() = 0;
    virtual void reset() = 0;
};

/// Serves requests until the connection is over.
void serveRequests(HttpWire& wire, ServerDelegate& delegate);

} // namespace cirrus::emulator
