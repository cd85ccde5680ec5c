#pragma once

#include <cstdint>
#include <list>
#include <string>
#include <thread>
#include <vector>

#include <boost/asio.hpp>
#include <boost/asio/ssl.hpp>

#include "emulator/http/ClientConnection.h"
#include "emulator/http/ServerDelegate.h"

namespace cirrus::emulator {

/// An HTTP/1.1 server with TLS 1.2 or later on 127.0.0.1, with one thread for each connection.
/// There is no idle timeout: connections stay open until the client closes them.
class HttpsServer {
public:
    /// Listens on this port, or on a free one if it is 0, with a new certificate for these DNS
    /// names. Reads `rate` bytes of a request's body in a second on each connection; 0 for no
    /// limit. The delegate has to outlive the server. Throws `std::runtime_error`.
    HttpsServer(std::uint16_t port, const std::vector<std::string>& hosts, std::uint64_t rate,
                ServerDelegate& delegate);
    /// Closes all connections and waits for their threads, and so for calls to the delegate that
    /// still run.
    ~HttpsServer();
    HttpsServer(const HttpsServer&) = delete;
    HttpsServer& operator=(const HttpsServer&) = delete;

    [[nodiscard]] std::uint16_t port() const { return acceptor_.local_endpoint().port(); }

    /// The authority that clients have to trust, as PEM text.
    [[nodiscard]] const std::string& authority() const { return authority_; }

private:
    void acceptAll();

    boost::asio::io_context context_; // never runs: all calls block
    boost::asio::ssl::context tls_{boost::asio::ssl::context::tls_server};
    const std::string authority_;
    const std::uint64_t rate_;
    ServerDelegate& delegate_;
    boost::asio::ip::tcp::acceptor acceptor_;
    // Used by the accepting thread and, after that has ended, by the destructor.
    std::list<ClientConnection> connections_;
    std::thread thread_;
};

} // namespace cirrus::emulator
