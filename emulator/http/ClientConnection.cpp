#include "emulator/http/ClientConnection.h"

#include <algorithm>
#include <limits>
#include <string>
#include <utility>

#include <poll.h>
#include <sys/socket.h>

namespace cirrus::emulator {

namespace asio = boost::asio;
namespace http = boost::beast::http;
using boost::system::error_code;

namespace {

constexpr std::size_t readBufferSize = 256UL * 1024;
constexpr std::uint32_t headLimit = 1024 * 1024;
constexpr std::uint64_t wholeBody = std::numeric_limits<std::uint64_t>::max();

} // namespace

ClientConnection::ClientConnection(Socket socket, asio::ssl::context& tls, std::uint64_t rate,
                                   ServerDelegate& delegate)
    : stream_(std::move(socket), tls), rate_(rate), delegate_(delegate), chunk_(readBufferSize) {
    buffer_.reserve(readBufferSize);
    thread_ = std::thread([this] { run(); });
}

ClientConnection::~ClientConnection() {
    thread_.join();
}

void ClientConnection::cutOff() {
    const std::scoped_lock lock(closing_);
    if (socket().is_open()) {
        ::shutdown(socket().native_handle(), SHUT_RDWR);
    }
}

void ClientConnection::run() {
    error_code error;
    stream_.handshake(asio::ssl::stream_base::server, error);
    while (!error && serveRequest()) {
    }
    closeSocket();
    finished_ = true;
}

/// True if the connection can serve another request.
bool ClientConnection::serveRequest() {
    std::optional<Request> request = readHead();
    if (!request) {
        return false;
    }
    const std::optional<Answer> early = delegate_.answerToHead(*request);
    const std::uint64_t wanted = early ? early->bodyReadFirst : wholeBody;
    ContentReader content(delegate_.bodyPolicy(*request));
    const bool isIntact = (wanted == 0 || askForBody(*request)) && readBody(content, wanted);
    request->body = content.finish();
    std::size_t index = 0;
    delegate_.record([&](Snapshot& seen) {
        index = seen.requests.size();
        seen.requests.push_back({*request, std::nullopt});
    });
    if (!isIntact) {
        return false;
    }
    const Answer answer = early ? *early : delegate_.answer(*request);
    if (!waitOut(answer.delay)) {
        return false;
    }
    if (!answer.raw && answer.cutAfter != 0) {
        delegate_.record([&](Snapshot& seen) { seen.requests[index].status = answer.status; });
    }
    ContentReader dropped(ContentPolicy::discard);
    return send(answer) && parser().keep_alive() && readBody(dropped, wholeBody);
}

/// Reads the next request without its body; nullopt if there is none.
std::optional<Request> ClientConnection::readHead() {
    parser_.emplace();
    parser().header_limit(headLimit);
    parser().body_limit(boost::none);
    error_code error;
    http::read_header(stream_, buffer_, parser(), error);
    if (error) {
        return std::nullopt;
    }
    const auto& head = parser().get();
    Request request{.method = std::string(head.method_string()),
                    .target = std::string(head.target())};
    readTarget(request);
    for (const auto& field : head) {
        request.headers.push_back({std::string(field.name_string()), std::string(field.value())});
    }
    return request;
}

/// Some clients send a body only after the server has asked for it.
bool ClientConnection::askForBody(const Request& request) {
    const std::string* expected = request.header("Expect");
    return expected == nullptr || !boost::beast::iequals(*expected, "100-continue") ||
           write("HTTP/1.1 100 Continue\r\n\r\n");
}

/// Reads up to `most` bytes of the body; false if the connection broke.
bool ClientConnection::readBody(ContentReader& content, std::uint64_t most) {
    while (!parser().is_done() && most > 0) {
        const std::size_t room = std::min<std::uint64_t>(chunk_.size(), most);
        auto& body = parser().get().body();
        body.data = chunk_.data();
        body.size = room;
        error_code error;
        http::read_some(stream_, buffer_, parser(), error);
        if (error && error != http::error::need_buffer) {
            return false;
        }
        const std::size_t size = room - body.size;
        content.append({chunk_.data(), size});
        most -= size;
        if (rate_ > 0 && !waitOut(std::chrono::milliseconds(1000 * size / rate_))) {
            return false;
        }
    }
    return true;
}

/// False if that ended the connection.
bool ClientConnection::send(const Answer& answer) {
    const std::string bytes = wireBytes(answer).substr(0, answer.cutAfter.value_or(wholeBody));
    std::string_view rest = bytes;
    for (const std::size_t pausePoint : answer.pauseAfter) {
        const std::size_t sent = bytes.size() - rest.size();
        const std::size_t part = std::clamp(pausePoint, sent, bytes.size()) - sent;
        if (!write(rest.substr(0, part)) || !waitOut(answer.pause)) {
            return false;
        }
        rest.remove_prefix(part);
    }
    if (!write(rest)) {
        return false;
    }
    if (answer.ending == Ending::close) {
        close();
    } else if (answer.ending == Ending::reset) {
        reset();
    }
    return answer.ending == Ending::keepOpen;
}

/// False if the connection broke.
bool ClientConnection::write(std::string_view bytes) {
    error_code error;
    asio::write(stream_, asio::buffer(bytes), error);
    return !error;
}

/// Waits; false if the connection ended during that time.
bool ClientConnection::waitOut(std::chrono::milliseconds time) {
    constexpr std::chrono::milliseconds longest = std::chrono::hours(24L * 20); // fits an int
    const auto timeout = static_cast<int>(std::min(time, longest).count());
    pollfd peer{.fd = socket().native_handle(), .events = POLLRDHUP, .revents = 0};
    return timeout <= 0 || ::poll(&peer, 1, timeout) == 0;
}

void ClientConnection::close() {
    error_code ignored;
    // Sends the end of TLS without waiting for the client to do the same.
    socket().non_blocking(true, ignored);
    stream_.shutdown(ignored);
    socket().non_blocking(false, ignored);
    socket().shutdown(Socket::shutdown_send, ignored);
    // Closing with unread bytes would reset the connection, and the client could lose the answer.
    error_code ended;
    while (!ended) {
        socket().read_some(asio::buffer(chunk_), ended);
    }
}

void ClientConnection::reset() {
    error_code ignored;
    socket().set_option(asio::socket_base::linger(true, 0), ignored);
    closeSocket();
}

void ClientConnection::closeSocket() {
    const std::scoped_lock lock(closing_);
    error_code ignored;
    socket().close(ignored);
}

} // namespace cirrus::emulator
