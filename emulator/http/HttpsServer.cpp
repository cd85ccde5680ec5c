#include "emulator/http/HttpsServer.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <list>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include <poll.h>
#include <sys/socket.h>

#include <boost/asio.hpp>
#include <boost/asio/ssl.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>

namespace cirrus::emulator {

namespace {

namespace asio = boost::asio;
namespace http = boost::beast::http;
using boost::system::error_code;
using Tcp = asio::ip::tcp;
using RequestParser = http::request_parser<http::buffer_body>;

constexpr std::size_t readBufferSize = 256UL * 1024;
constexpr std::uint32_t headLimit = 1024 * 1024;

Request requestOf(const RequestParser& parser, std::uint64_t connection) {
    const auto& head = parser.get();
    Request request;
    request.connection = connection;
    request.method = std::string(head.method_string());
    request.target = std::string(head.target());
    readTarget(request);
    for (const auto& field : head) {
        request.headers.push_back({std::string(field.name_string()), std::string(field.value())});
    }
    return request;
}

/// Whether the client sent something that is not HTTP, as opposed to a broken connection.
bool isMalformed(const error_code& error) {
    return error.category() == http::make_error_code(http::error::bad_method).category() &&
           error != http::error::end_of_stream && error != http::error::partial_message;
}

/// One connection, served on its own thread. `cutOff` makes all blocking calls return.
class ClientConnection final : public HttpWire {
public:
    ClientConnection(Tcp::socket socket, asio::ssl::context& tls, std::uint64_t number)
        : stream_(std::move(socket), tls), number_(number), chunk_(readBufferSize) {
        buffer_.reserve(readBufferSize);
    }

    ClientConnection(const ClientConnection&) = delete;
    ClientConnection& operator=(const ClientConnection&) = delete;

    ~ClientConnection() override {
        if (thread_.joinable()) {
            thread_.join();
        }
    }

    /// Serves the connection until it ends. The destructor waits for that.
    void start(ServerDelegate& delegate) {
        thread_ = std::thread([this, &delegate] { run(delegate); });
    }

    /// From any thread.
    void cutOff() {
        const std::scoped_lock lock(closing_);
        if (socket().is_open()) {
            ::shutdown(socket().native_handle(), SHUT_RDWR);
        }
    }

    /// From any thread.
    [[nodiscard]] bool finished() const { return finished_; }

    std::expected<Request, HeadFailure> readHead() override {
        parser_.emplace();
        parser().header_limit(headLimit);
        parser().body_limit(boost::none);
        error_code error;
        http::read_header(stream_, buffer_, parser(), error);
        if (error) {
            return std::unexpected(isMalformed(error) ? HeadFailure::malformed
                                                      : HeadFailure::ended);
        }
        return requestOf(parser(), number_);
    }

    bool bodyComplete() override { return parser().is_done(); }

    std::optional<std::string_view> readBody(std::uint64_t most) override {
        const std::size_t room = std::min<std::uint64_t>(chunk_.size(), most);
        auto& body = parser().get().body();
        body.data = chunk_.data();
        body.size = room;
        error_code error;
        http::read_some(stream_, buffer_, parser(), error);
        if (error && error != http::error::need_buffer) {
            return std::nullopt;
        }
        return std::string_view(chunk_.data(), room - body.size);
    }

    bool keepsAlive() override { return parser().keep_alive(); }

    bool write(std::string_view bytes) override {
        error_code error;
        asio::write(stream_, asio::buffer(bytes), error);
        return !error;
    }

    bool waitOut(std::chrono::milliseconds time) override {
        constexpr std::chrono::milliseconds longest = std::chrono::hours(24L * 20); // fits an int
        const auto timeout = static_cast<int>(std::min(time, longest).count());
        pollfd peer{.fd = socket().native_handle(), .events = POLLRDHUP, .revents = 0};
        return timeout <= 0 || ::poll(&peer, 1, timeout) == 0;
    }

    void close() override {
        error_code ignored;
        // Sends the end of TLS without waiting for the client to do the same.
        socket().non_blocking(true, ignored);
        stream_.shutdown(ignored);
        socket().non_blocking(false, ignored);
        socket().shutdown(Tcp::socket::shutdown_send, ignored);
        // Closing with unread bytes would reset the connection, and the client could lose the
        // answer.
        error_code ended;
        while (!ended) {
            socket().read_some(asio::buffer(chunk_), ended);
        }
    }

    void reset() override {
        error_code ignored;
        socket().set_option(asio::socket_base::linger(true, 0), ignored);
        closeSocket();
    }

private:
    Tcp::socket& socket() { return stream_.next_layer(); }

    /// The parser of the current request. It exists once `readHead` was called.
    // NOLINTNEXTLINE(bugprone-unchecked-optional-access)
    RequestParser& parser() { return *parser_; }

    void run(ServerDelegate& delegate) {
        error_code error;
        stream_.handshake(asio::ssl::stream_base::server, error);
        if (!error) {
            serveRequests(*this, delegate);
        }
        closeSocket();
        delegate.connectionClosed();
        finished_ = true;
    }

    void closeSocket() {
        const std::scoped_lock lock(closing_);
        error_code ignored;
        socket().close(ignored);
    }

    asio::ssl::stream<Tcp::socket> stream_;
    std::uint64_t number_;
    boost::beast::flat_buffer buffer_;
    std::vector<char> chunk_;
    std::optional<RequestParser> parser_;
    std::mutex closing_;
    std::atomic<bool> finished_ = false;
    std::thread thread_;
};

} // namespace

/// Accepts connections and owns them.
class HttpsServer::Listener {
public:
    /// Throws `boost::system::system_error`.
    Listener(std::uint16_t port, bool readsSlowly, const ServerIdentity& identity,
             ServerDelegate& delegate)
        : acceptor_(accepting_, Tcp::endpoint(asio::ip::address_v4::loopback(), port)),
          delegate_(delegate) {
        if (readsSlowly) { // connections inherit it
            constexpr int smallBuffer = 32 * 1024;
            acceptor_.set_option(asio::socket_base::receive_buffer_size(smallBuffer));
        }
        tls_.set_options(asio::ssl::context::no_tlsv1 | asio::ssl::context::no_tlsv1_1);
        tls_.use_certificate_chain(asio::buffer(identity.certificate));
        tls_.use_private_key(asio::buffer(identity.privateKey), asio::ssl::context::pem);
        // Only to know of it: nothing is chosen, which means HTTP/1.1.
        SSL_CTX_set_alpn_select_cb(
            tls_.native_handle(),
            [](SSL*, const unsigned char**, unsigned char*, const unsigned char* offered,
               unsigned length, void* self) {
                static_cast<ServerDelegate*>(self)->protocolsOffered(
                    {reinterpret_cast<const char*>(offered), length});
                return SSL_TLSEXT_ERR_NOACK;
            },
            &delegate_);
        accept();
        thread_ = std::thread([this] { accepting_.run(); });
    }

    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    ~Listener() {
        accepting_.stop();
        thread_.join();
        for (ClientConnection& connection : connections_) {
            connection.cutOff();
        }
    }

    [[nodiscard]] std::uint16_t port() const { return acceptor_.local_endpoint().port(); }

private:
    void accept() {
        acceptor_.async_accept(blocking_, [this](error_code error, Tcp::socket socket) {
            if (!error) {
                serve(std::move(socket));
            }
            accept();
        });
    }

    void serve(Tcp::socket socket) {
        std::erase_if(connections_, [](const ClientConnection& held) { return held.finished(); });
        error_code ignored;
        socket.set_option(Tcp::no_delay(true), ignored);
        delegate_.connectionAccepted();
        connections_.emplace_back(std::move(socket), tls_, ++accepted_).start(delegate_);
    }

    // Owns the sockets of the connections, which block. It never runs, so that bytes for them do
    // not wake the accepting thread. It comes first because the pending accept holds such a socket.
    asio::io_context blocking_{1};
    asio::io_context accepting_{1};
    asio::ssl::context tls_{asio::ssl::context::tls_server};
    Tcp::acceptor acceptor_;
    ServerDelegate& delegate_;
    // Used by the accepting thread and, after that has ended, by the destructor.
    std::list<ClientConnection> connections_;
    std::uint64_t accepted_ = 0;
    std::thread thread_;
};

HttpsServer::HttpsServer(std::unique_ptr<Listener> listener) : listener_(std::move(listener)) {}

HttpsServer::~HttpsServer() = default;

std::expected<std::unique_ptr<HttpsServer>, EmulatorError>
HttpsServer::start(std::uint16_t port, bool readsSlowly, const ServerIdentity& identity,
                   ServerDelegate& delegate) {
    try {
        auto listener = std::make_unique<Listener>(port, readsSlowly, identity, delegate);
        return std::unique_ptr<HttpsServer>(new HttpsServer(std::move(listener)));
    } catch (const boost::system::system_error& error) {
        return std::unexpected(EmulatorError{"cannot serve: " + error.code().message()});
    }
}

std::uint16_t HttpsServer::port() const {
    return listener_->port();
}

} // namespace cirrus::emulator
