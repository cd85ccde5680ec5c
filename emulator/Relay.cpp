#include "emulator/Relay.h"

#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <condition_variable>
#include <list>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace cirrus::emulator {

namespace {

using Clock = std::chrono::steady_clock;

class Descriptor {
public:
    explicit Descriptor(int number) : number_(number) {}

    Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}

    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    Descriptor& operator=(Descriptor&&) = delete;

    ~Descriptor() { close(); }

    void close() {
        if (number_ >= 0) {
            ::close(std::exchange(number_, -1));
        }
    }

    [[nodiscard]] int get() const { return number_; }

private:
    int number_;
};

Descriptor newSocket() {
    Descriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    // Little room, set before there is a connection: what lies here counts as arrived.
    const int room = 2048;
    ::setsockopt(socket.get(), SOL_SOCKET, SO_RCVBUF, &room, sizeof(room));
    return socket;
}

/// Calls `bind`, `connect` or `getsockname` with a port on 127.0.0.1.
bool withAddress(auto call, const Descriptor& socket, std::uint16_t& port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    // NOLINTNEXTLINE(misc-const-correctness): getsockname writes to it
    socklen_t length = sizeof(address);
    const bool hasWorked = call(socket.get(), reinterpret_cast<sockaddr*>(&address), &length) == 0;
    port = ntohs(address.sin_port);
    return hasWorked;
}

/// One direction of a connection.
struct Flow {
    int from = -1;
    int to = -1;
    std::string pending = {};   ///< read, but not yet written
    Clock::time_point due = {}; ///< not before then is more read
    bool hasEnded = false;
};

struct Connection {
    Connection(Descriptor accepted, Descriptor connected)
        : client(std::move(accepted)),
          server(std::move(connected)),
          up{.from = client.get(), .to = server.get()},
          down{.from = server.get(), .to = client.get()} {}

    void breakOff(Ending ending) {
        isSilent = ending == Ending::keepOpen;
        if (ending == Ending::close) {
            ::shutdown(client.get(), SHUT_WR);
            down.hasEnded = true;
        } else if (ending == Ending::reset) {
            const linger atOnce{.l_onoff = 1, .l_linger = 0};
            ::setsockopt(client.get(), SOL_SOCKET, SO_LINGER, &atOnce, sizeof(atOnce));
            client.close();
        }
        if (ending != Ending::keepOpen) {
            server.close();
        }
    }

    [[nodiscard]] bool isOver() const { return client.get() < 0 || (up.hasEnded && down.hasEnded); }

    Descriptor client;
    Descriptor server;
    Flow up;
    Flow down;
    bool isSilent = false;
};

} // namespace

/// One thread that moves the bytes of all connections.
class Relay::Loop {
public:
    explicit Loop(std::uint16_t serverPort) : serverPort_(serverPort) {}

    Loop(const Loop&) = delete;
    Loop& operator=(const Loop&) = delete;

    ~Loop() {
        change([this] { isStopping_ = true; });
    }

    /// False with the reason in `errno`.
    bool start() {
        const auto bind = [](int socket, sockaddr* address, const socklen_t* length) {
            return ::bind(socket, address, *length);
        };
        if (!withAddress(bind, listener_, port_) || ::listen(listener_.get(), SOMAXCONN) != 0 ||
            !withAddress(::getsockname, listener_, port_)) {
            return false;
        }
        thread_ = std::jthread([this] { run(); });
        return true;
    }

    [[nodiscard]] std::uint16_t port() const { return port_; }

    void limitRate(std::uint64_t bytesPerSecond) {
        change([this, bytesPerSecond] { rate_ = bytesPerSecond; });
    }

    void breakAfter(std::uint64_t bytes, Ending ending) {
        change([this, bytes, ending] {
            bytesUntilBreak_ = bytes;
            ending_ = ending;
        });
    }

    bool waitUntilServerEnds(std::chrono::milliseconds limit) const {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, limit, [this] { return hasServerEnded_; });
    }

private:
    void change(const auto& apply) {
        const std::scoped_lock lock(mutex_);
        apply();
        ::eventfd_write(wakeup_.get(), 1);
    }

    void run() {
        for (;;) {
            std::vector<pollfd> awaited{{.fd = wakeup_.get(), .events = POLLIN, .revents = 0},
                                        {.fd = listener_.get(), .events = POLLIN, .revents = 0}};
            auto next = Clock::time_point::max();
            for (const Connection& connection : connections_) {
                await(connection, connection.up, awaited, next);
                await(connection, connection.down, awaited, next);
            }
            ::poll(awaited.data(), awaited.size(), timeUntil(next));
            const std::scoped_lock lock(mutex_);
            if (isStopping_) {
                return;
            }
            eventfd_t ignored = 0;
            ::eventfd_read(wakeup_.get(), &ignored);
            if (awaited[1].revents != 0) {
                accept();
            }
            for (Connection& connection : connections_) {
                advance(connection, connection.up);
                advance(connection, connection.down);
            }
            std::erase_if(connections_, [](const Connection& held) { return held.isOver(); });
        }
    }

    static void await(const Connection& connection, const Flow& flow, std::vector<pollfd>& awaited,
                      Clock::time_point& next) {
        if (connection.isSilent || flow.hasEnded) {
            return;
        }
        if (!flow.pending.empty()) {
            awaited.push_back({.fd = flow.to, .events = POLLOUT, .revents = 0});
        } else if (flow.due > Clock::now()) {
            next = std::min(next, flow.due);
        } else {
            awaited.push_back({.fd = flow.from, .events = POLLIN, .revents = 0});
        }
    }

    static int timeUntil(Clock::time_point next) {
        if (next == Clock::time_point::max()) {
            return -1;
        }
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(next - Clock::now());
        return std::max(0, static_cast<int>(left.count()));
    }

    void accept() {
        Descriptor client(::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC));
        const auto connect = [](int socket, sockaddr* address, const socklen_t* length) {
            return ::connect(socket, address, *length);
        };
        Descriptor server = newSocket();
        std::uint16_t port = serverPort_;
        if (client.get() >= 0 && withAddress(connect, server, port)) {
            connections_.emplace_back(std::move(client), std::move(server));
        }
    }

    void advance(Connection& connection, Flow& flow) {
        if (connection.isSilent || connection.isOver() || flow.hasEnded) {
            return;
        }
        const bool isUp = &flow == &connection.up;
        if (flow.pending.empty() && flow.due <= Clock::now()) {
            read(connection, flow, isUp);
        }
        if (!flow.pending.empty() && !connection.isOver()) {
            const auto count = ::send(flow.to, flow.pending.data(), flow.pending.size(),
                                      MSG_DONTWAIT | MSG_NOSIGNAL);
            flow.pending.erase(0, static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
            breakOnError(connection, count);
        }
    }

    void read(Connection& connection, Flow& flow, bool isUp) {
        constexpr std::uint64_t steps = 100; // a second, when the rate is limited
        std::array<char, 16UL * 1024> room{};
        auto most = rate_ > 0 ? std::clamp<std::uint64_t>(rate_ / steps, 1, room.size())
                              : std::uint64_t{room.size()};
        const bool mayBreak = isUp && bytesUntilBreak_;
        if (mayBreak) {
            most = std::min(most, std::max<std::uint64_t>(*bytesUntilBreak_, 1));
        }
        // NOLINTNEXTLINE(clang-analyzer-unix.BlockInCriticalSection): does not wait
        const auto count = ::recv(flow.from, room.data(), most, MSG_DONTWAIT);
        if (count > 0 && mayBreak && *bytesUntilBreak_ == 0) {
            bytesUntilBreak_.reset();
            connection.breakOff(ending_);
            return;
        }
        if (count > 0 && connection.server.get() >= 0) {
            pass(flow, {room.data(), static_cast<std::size_t>(count)}, isUp);
        } else if (count == 0) {
            flow.hasEnded = true;
            ::shutdown(flow.to, SHUT_WR);
        }
        breakOnError(connection, count);
        if (!isUp && (flow.hasEnded || connection.isOver())) {
            hasServerEnded_ = true;
            changed_.notify_all();
        }
    }

    void pass(Flow& flow, std::string_view bytes, bool isUp) {
        flow.pending = bytes;
        if (isUp && bytesUntilBreak_) {
            *bytesUntilBreak_ -= bytes.size();
        }
        if (rate_ > 0) {
            const std::chrono::duration<double> time(static_cast<double>(bytes.size()) /
                                                     static_cast<double>(rate_));
            flow.due = std::max(flow.due, Clock::now() - longestCatchUp) +
                       std::chrono::duration_cast<Clock::duration>(time);
        }
    }

    /// A reset of one side is passed on to the other.
    static void breakOnError(Connection& connection, ssize_t count) {
        if (count < 0 && errno != EAGAIN && errno != EINTR) {
            connection.breakOff(Ending::reset);
        }
    }

    /// How far a flow that was late may catch up with its rate.
    static constexpr std::chrono::milliseconds longestCatchUp{20};

    const std::uint16_t serverPort_;
    std::uint16_t port_ = 0;
    Descriptor listener_ = newSocket();
    Descriptor wakeup_{::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)};
    std::list<Connection> connections_;

    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    std::uint64_t rate_ = 0;
    std::optional<std::uint64_t> bytesUntilBreak_;
    Ending ending_ = Ending::keepOpen;
    bool hasServerEnded_ = false;
    bool isStopping_ = false;
    std::jthread thread_; // last: it ends before what it uses
};

Relay::Relay(std::unique_ptr<Loop> loop) : loop_(std::move(loop)) {}

Relay::~Relay() = default;

std::expected<std::unique_ptr<Relay>, EmulatorError> Relay::start(std::uint16_t serverPort) {
    auto loop = std::make_unique<Loop>(serverPort);
    if (!loop->start()) {
        return std::unexpected(
            EmulatorError{"cannot relay: " + std::generic_category().message(errno)});
    }
    return std::unique_ptr<Relay>(new Relay(std::move(loop)));
}

std::uint16_t Relay::port() const {
    return loop_->port();
}

void Relay::limitRate(std::uint64_t bytesPerSecond) {
    loop_->limitRate(bytesPerSecond);
}

void Relay::breakAfter(std::uint64_t bytes, Ending ending) {
    loop_->breakAfter(bytes, ending);
}

bool Relay::waitUntilServerEnds(std::chrono::milliseconds limit) const {
    return loop_->waitUntilServerEnds(limit);
}

} // namespace cirrus::emulator
