#include "emulator/http/HttpsServer.h"

#include <utility>

#include <sys/socket.h>

#include "emulator/Crypto.h"

namespace cirrus::emulator {

namespace asio = boost::asio;
using Tcp = asio::ip::tcp;

HttpsServer::HttpsServer(std::uint16_t port, const std::vector<std::string>& hosts,
                         std::uint64_t rate, ServerDelegate& delegate)
    : authority_(certify(tls_.native_handle(), hosts)),
      rate_(rate),
      delegate_(delegate),
      acceptor_(context_, Tcp::endpoint(asio::ip::address_v4::loopback(), port)) {
    if (rate > 0) { // lets the system take little in advance; connections inherit it
        constexpr int smallBuffer = 32 * 1024;
        acceptor_.set_option(asio::socket_base::receive_buffer_size(smallBuffer));
    }
    tls_.set_options(asio::ssl::context::no_tlsv1 | asio::ssl::context::no_tlsv1_1);
    // Only to know of it: nothing is chosen, which means HTTP/1.1.
    SSL_CTX_set_alpn_select_cb(
        tls_.native_handle(),
        [](SSL*, const unsigned char**, unsigned char*, const unsigned char* offered,
           unsigned length, void* self) {
            static_cast<ServerDelegate*>(self)->record([&](Snapshot& seen) {
                seen.protocolsOffered.assign(reinterpret_cast<const char*>(offered), length);
            });
            return SSL_TLSEXT_ERR_NOACK;
        },
        &delegate_);
    thread_ = std::thread([this] { acceptAll(); });
}

HttpsServer::~HttpsServer() {
    ::shutdown(acceptor_.native_handle(), SHUT_RDWR);
    thread_.join();
    for (ClientConnection& connection : connections_) {
        connection.cutOff();
    }
}

void HttpsServer::acceptAll() {
    boost::system::error_code error;
    // That is what accepting fails with once the destructor has shut the listening socket down.
    while (error != asio::error::invalid_argument) {
        Tcp::socket socket(context_);
        acceptor_.accept(socket, error);
        if (error) {
            continue;
        }
        std::erase_if(connections_, [](const ClientConnection& held) { return held.finished(); });
        boost::system::error_code ignored;
        socket.set_option(Tcp::no_delay(true), ignored);
        delegate_.record([](Snapshot& seen) { ++seen.connectionsAccepted; });
        connections_.emplace_back(std::move(socket), tls_, rate_, delegate_);
    }
}

} // namespace cirrus::emulator
