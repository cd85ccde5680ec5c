#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string_view>
#include <thread>
#include <vector>

#include <boost/asio.hpp>
#include <boost/asio/ssl.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>

#include "emulator/http/ContentReader.h"
#include "emulator/http/ServerDelegate.h"

namespace cirrus::emulator {

/// The server's end of one connection: reads one request after another and sends their answers. All
/// of its calls block, on a thread of its own.
class ClientConnection {
public:
    using Socket = boost::asio::ip::tcp::socket;

    /// Serves the connection until it ends. Reads `rate` bytes of a body in a second; 0 for no
    /// limit.
    ClientConnection(Socket socket, boost::asio::ssl::context& tls, std::uint64_t rate,
                     ServerDelegate& delegate);
    /// Waits for the end of the connection.
    ~ClientConnection();
    ClientConnection(const ClientConnection&) = delete;
    ClientConnection& operator=(const ClientConnection&) = delete;

    /// Makes all blocking calls return. From any thread.
    void cutOff();

    /// From any thread.
    [[nodiscard]] bool finished() const { return finished_; }

private:
    using RequestParser = boost::beast::http::request_parser<boost::beast::http::buffer_body>;

    Socket& socket() { return stream_.next_layer(); }

    /// The parser of the current request. It exists once `readHead` was called.
    // NOLINTNEXTLINE(bugprone-unchecked-optional-access)
    RequestParser& parser() { return *parser_; }

    void run();
    bool serveRequest();
    std::optional<Request> readHead();
    bool askForBody(const Request& request);
    bool readBody(ContentReader& content, std::uint64_t most);
    bool send(const Answer& answer);
    bool write(std::string_view bytes);
    bool waitOut(std::chrono::milliseconds time);
    void close();
    void reset();
    void closeSocket();

    boost::asio::ssl::stream<Socket> stream_;
    const std::uint64_t rate_;
    ServerDelegate& delegate_;
    boost::beast::flat_buffer buffer_;
    std::vector<char> chunk_;
    std::optional<RequestParser> parser_;
    std::mutex closing_;
    std::atomic<bool> finished_ = false;
    std::thread thread_;
};

} // namespace cirrus::emulator
