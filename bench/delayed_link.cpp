// Two network namespaces with a link between them that takes its time: every packet is handed over
// this long after it was sent, in order. For kernels that cannot delay packets themselves. Either
// side sees the other's servers on 127.0.0.1. Usage: cirrus-bench-link NAMESPACE NAMESPACE
// MICROSECONDS; the namespaces, made with `ip netns`, each have the TUN device "link0".

#include <fcntl.h>
#include <linux/if.h>
#include <linux/if_tun.h>
#include <poll.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <iostream>
#include <string>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

/// Opens the device of a namespace, which this thread enters for that; -1 when it cannot.
int openDevice(const std::string& name) {
    const int space = ::open(("/run/netns/" + name).c_str(), O_RDONLY | O_CLOEXEC);
    if (space < 0 || ::setns(space, CLONE_NEWNET) != 0) {
        return -1;
    }
    ::close(space);
    const int device = ::open("/dev/net/tun", O_RDWR | O_NONBLOCK | O_CLOEXEC);
    ifreq request{};
    std::strcpy(request.ifr_name, "link0");
    request.ifr_flags = IFF_TUN | IFF_NO_PI;
    return ::ioctl(device, TUNSETIFF, &request) == 0 ? device : -1;
}

/// One direction of the link.
class Lane {
public:
    Lane(int from, int to, Clock::duration delay) : from_(from), to_(to), delay_(delay) {}

    [[nodiscard]] int from() const { return from_; }

    void takeIn() {
        std::array<char, 65536> buffer{};
        ssize_t size = 0;
        while ((size = ::read(from_, buffer.data(), buffer.size())) > 0) {
            packets_.push_back({Clock::now() + delay_, {buffer.data(), buffer.data() + size}});
        }
    }

    /// Hands over what is due; how long until the next packet is, at most `longest`.
    Clock::duration handOver(Clock::duration longest) {
        for (; !packets_.empty(); packets_.pop_front()) {
            const auto& [due, bytes] = packets_.front();
            if (const auto left = due - Clock::now(); left > Clock::duration::zero()) {
                return std::min(left, longest);
            }
            // A packet that finds no room is lost, as on any link.
            static_cast<void>(!::write(to_, bytes.data(), bytes.size()));
        }
        return longest;
    }

private:
    struct Packet {
        Clock::time_point due;
        std::vector<char> bytes;
    };

    int from_;
    int to_;
    Clock::duration delay_;
    std::deque<Packet> packets_;
};

void relay(int left, int right, Clock::duration delay) {
    Lane rightwards(left, right, delay);
    Lane leftwards(right, left, delay);
    while (true) {
        const auto wait = leftwards.handOver(rightwards.handOver(std::chrono::seconds(1)));
        const auto nanoseconds = std::chrono::nanoseconds(wait).count();
        const timespec timeout{.tv_sec = nanoseconds / 1'000'000'000,
                               .tv_nsec = nanoseconds % 1'000'000'000};
        std::array<pollfd, 2> sources{{{.fd = left, .events = POLLIN, .revents = 0},
                                       {.fd = right, .events = POLLIN, .revents = 0}}};
        ::ppoll(sources.data(), sources.size(), &timeout, nullptr);
        rightwards.takeIn();
        leftwards.takeIn();
    }
}

} // namespace

int main(int count, char** words) {
    if (count != 4) {
        std::cerr << "usage: " << words[0] << " NAMESPACE NAMESPACE MICROSECONDS\n";
        return 2;
    }
    const int left = openDevice(words[1]);
    const int right = openDevice(words[2]);
    if (left < 0 || right < 0) {
        std::cerr << "cannot open the link: " << std::strerror(errno) << '\n';
        return EXIT_FAILURE;
    }
    std::cout << "ready" << std::endl;
    relay(left, right, std::chrono::microseconds(std::atol(words[3])));
}
