#include "Cirrus/platform/IdleWatch.h"

#include <linux/tcp.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cstddef>
#include <utility>

namespace cirrus {

namespace {

std::optional<std::uint64_t> bytesMoved(int socket) {
    tcp_info info{};
    socklen_t length = sizeof(info);
    constexpr std::size_t needed =
        offsetof(tcp_info, tcpi_bytes_received) + sizeof(info.tcpi_bytes_received);
    if (::getsockopt(socket, IPPROTO_TCP, TCP_INFO, &info, &length) != 0 || length < needed) {
        return std::nullopt;
    }
    return info.tcpi_bytes_acked + info.tcpi_bytes_received;
}

} // namespace

void IdleWatch::restart(std::chrono::milliseconds limit, Clock::time_point now) {
    limit_ = limit;
    sockets_.clear();
    lastCount_ = 0;
    lastMoved_ = now;
}

void IdleWatch::add(int socket) {
    remove(socket);
    sockets_.push_back(socket);
}

void IdleWatch::remove(int socket) {
    std::erase(sockets_, socket);
}

bool IdleWatch::hasIdledOut(Clock::time_point now, std::uint64_t transportCount) {
    const auto count = systemCount().value_or(transportCount);
    if (std::exchange(lastCount_, count) != count) {
        lastMoved_ = now;
    }
    return now - lastMoved_ >= limit_;
}

std::optional<std::uint64_t> IdleWatch::systemCount() const {
    std::optional<std::uint64_t> sum;
    for (const int socket : sockets_) {
        if (const auto moved = bytesMoved(socket)) {
            sum = sum.value_or(0) + *moved;
        }
    }
    return sum;
}

} // namespace cirrus
