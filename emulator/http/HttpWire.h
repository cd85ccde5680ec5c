#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <expected>
#include <optional>
#include <string_view>

#include <Cirrus/emulator/Content.h>
#include <Cirrus/emulator/HttpMessage.h>

namespace cirrus::emulator {

/// What the server reports to its owner and asks of it. Called on the threads of the connections,
/// several of them at the same time. A call that blocks delays only its own connection.
class ServerDelegate {
public:
    ServerDelegate() = default;
    ServerDelegate(const ServerDelegate&) = delete;
    ServerDelegate& operator=(const ServerDelegate&) = delete;
    virtual ~ServerDelegate() = default;

    virtual void connectionAccepted() = 0;
    virtual void protocolsOffered(std::string protocols) = 0;
    virtual void connectionClosed() = 0;

    /// Called before the body is read. An answer is sent without waiting for the body.
    virtual std::optional<Answer> answerToHead(const Request& head) = 0;
    /// What to keep of the body that follows.
    virtual ContentPolicy bodyPolicy(const Request& head) = 0;
    /// Returns how long to wait before more is read.
    virtual std::chrono::milliseconds bodyBytesRead(std::uint64_t size) = 0;
    /// The request was read, as far as the connection lasted. Returns its index, for `answering`.
    virtual std::size_t requestRead(const Request& request) = 0;
    virtual Answer answer(const Request& request) = 0;
    /// The request with this index is about to be answered.
    virtual void answering(std::size_t index, unsigned status) = 0;
};

/// The server's end of one connection, which reads one request after another. Calls block; all of
/// them come from one thread.
class HttpWire {
public:
    enum class HeadFailure { ended, malformed };

    HttpWire() = default;
    HttpWire(const HttpWire&) = delete;
    HttpWire& operator=(const HttpWire&) = delete;
    virtual ~HttpWire() = default;

    /// Reads the next request without its body.
    virtual std::expected<Request, HeadFailure> readHead() = 0;
    /// Whether the whole body of the current request was read.
    virtual bool bodyComplete() = 0;
    /// Reads some of the body, at most `most` bytes. They are valid until the next call; nullopt if
    /// the connection broke.
    virtual std::optional<std::string_view> readBody(std::uint64_t most) = 0;
    /// Whether another request may follow the current one.
    virtual bool keepsAlive() = 0;
    /// False if the connection broke.
    virtual bool write(std::string_view bytes) = 0;
    /// Waits; false if the connection ended during that time.
    virtual bool waitOut(std::chrono::milliseconds time) = 0;
    virtual void close() = 0;
    virtual void reset() = 0;
};

/// Serves requests until the connection ends.
void serveRequests(HttpWire& wire, ServerDelegate& delegate);

} // namespace cirrus::emulator
