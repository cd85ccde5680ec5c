#include "tests/support/Relay.h"

#include <algorithm>
#include <array>
#include <utility>

namespace cirrus::tests {

namespace asio = boost::asio;
using boost::system::error_code;
using emulator::Ending;
using Tcp = asio::ip::tcp;

namespace {

/// Operations return their error code instead of throwing it.
constexpr auto withError = asio::as_tuple(asio::use_awaitable);

/// Bytes in a receive buffer count as acknowledged, so there is room for few of them. Has to be set
/// before the connection exists.
const asio::socket_base::receive_buffer_size smallBuffer(2048);

} // namespace

struct Relay::Connection {
    Tcp::socket client;
    Tcp::socket server;
    bool isSilent = false;

    void breakOff(Ending ending) {
        error_code ignored;
        isSilent = ending == Ending::keepOpen;
        if (!isSilent) {
            server.close(ignored);
        }
        if (ending == Ending::close) {
            client.shutdown(Tcp::socket::shutdown_send, ignored);
        } else if (ending == Ending::reset) {
            client.set_option(asio::socket_base::linger(true, 0), ignored);
            client.close(ignored);
        }
    }
};

Relay::Relay(std::uint16_t serverPort) : server_(asio::ip::address_v4::loopback(), serverPort) {
    acceptor_.set_option(smallBuffer);
    acceptor_.bind({asio::ip::address_v4::loopback(), 0});
    acceptor_.listen();
    asio::co_spawn(context_, accept(), asio::detached);
    thread_ = std::thread([this] { context_.run(); });
}

Relay::~Relay() {
    context_.stop();
    thread_.join();
}

void Relay::breakAfter(std::uint64_t bytes, Ending ending) {
    std::packaged_task<void()> change([&] {
        bytesUntilBreak_ = bytes;
        ending_ = ending;
    });
    asio::post(context_, std::move(change)).get();
}

bool Relay::waitUntilServerEnds(std::chrono::milliseconds limit) const {
    return serverEnded_.wait_for(limit) == std::future_status::ready;
}

asio::awaitable<void> Relay::accept() {
    while (true) {
        auto [error, client] = co_await acceptor_.async_accept(withError);
        Tcp::socket server(context_, Tcp::v4());
        error_code refused;
        server.set_option(smallBuffer);
        server.connect(server_, refused);
        if (!error && !refused) {
            auto both = std::make_shared<Connection>(std::move(client), std::move(server));
            asio::co_spawn(context_, pass(both, true), asio::detached);
            asio::co_spawn(context_, pass(both, false), asio::detached);
        }
    }
}

/// Passes on what comes from the client, or what comes from the server.
asio::awaitable<void> Relay::pass(std::shared_ptr<Connection> connection, bool isFromClient) {
    auto& from = isFromClient ? connection->client : connection->server;
    auto& to = isFromClient ? connection->server : connection->client;
    asio::steady_timer timer(context_);
    std::array<char, 16UL * 1024> bytes{};
    error_code ignored;
    while (!connection->isSilent) {
        const std::uint64_t rate = rate_;
        // A hundredth of a second's worth if the rate is limited.
        const auto room =
            rate == 0 ? bytes.size() : std::clamp<std::uint64_t>(rate / 100, 1, bytes.size());
        const auto [error, count] =
            co_await from.async_read_some(asio::buffer(bytes, room), withError);
        if (connection->isSilent) {
            break;
        }
        if (error) {
            const bool wasOpen = from.is_open(); // otherwise this relay has closed it
            if (error == asio::error::eof) {
                to.shutdown(Tcp::socket::shutdown_send, ignored);
            } else if (wasOpen) {
                connection->breakOff(Ending::reset);
            }
            if (wasOpen && !isFromClient && !std::exchange(hasServerEnded_, true)) {
                serverEnd_.set_value();
            }
            co_return;
        }
        if (!to.is_open()) {
            continue; // Closing now would reset the connection, because bytes are unread.
        }
        const auto passing = isFromClient ? takeUntilBreak(count) : count;
        const auto [failure, written] =
            co_await asio::async_write(to, asio::buffer(bytes, passing), withError);
        if (passing < count) {
            connection->breakOff(ending_);
        } else if (failure) {
            co_return;
        } else if (rate != 0) {
            timer.expires_after(std::chrono::microseconds(1'000'000 * count / rate));
            co_await timer.async_wait(withError);
        }
    }
    // Keeps both sockets open until the relay ends.
    timer.expires_at(asio::steady_timer::time_point::max());
    co_await timer.async_wait(withError);
}

/// How many of these bytes pass; fewer than all of them if the connection is to break.
std::size_t Relay::takeUntilBreak(std::size_t count) {
    const auto passing = std::min<std::uint64_t>(count, bytesUntilBreak_.value_or(count));
    if (passing < count) {
        bytesUntilBreak_.reset();
    } else if (bytesUntilBreak_) {
        *bytesUntilBreak_ -= passing;
    }
    return passing;
}

} // namespace cirrus::tests
