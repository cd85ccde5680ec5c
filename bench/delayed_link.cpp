// Joins two network namespaces by a link with a delay and, if wanted, a limited rate, for kernels
// that cannot slow packets down themselves. Each namespace, made with `ip netns`, has the TUN
// device "link0". A direction with a rate has a queue of 256 KiB; packets that do not fit are
// dropped. Usage: cirrus-bench-link NAMESPACE NAMESPACE MICROSECONDS BITS_PER_SECOND (0: no limit)

#include <fcntl.h>
#include <linux/if.h>
#include <linux/if_tun.h>
#include <poll.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <iostream>
#include <string>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

/// Opens the device of a namespace, and leaves this thread in that namespace; -1 on failure.
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

struct Speed {
    Clock::duration delay;
    double bitsPerSecond; ///< 0 for no limit
};

/// One direction of the link.
class Lane {
public:
    Lane(int from, int to, Speed speed) : from_(from), to_(to), speed_(speed) {}

    /// Queues every packet that waits to be sent.
    void receive() {
        std::array<char, 65536> buffer{};
        ssize_t size = 0;
        while ((size = ::read(from_, buffer.data(), buffer.size())) > 0) {
            const auto now = Clock::now();
            const auto start = std::max(now, lineIsFree_);
            if (start - now + timeOnLine(size) <= timeOnLine(queueSize)) {
                lineIsFree_ = start + timeOnLine(size);
                packets_.push_back(
                    {lineIsFree_ + speed_.delay, {buffer.data(), buffer.data() + size}});
            }
        }
    }

    /// Delivers what is due. Returns how long until the next packet is, at most `longest`.
    Clock::duration deliver(Clock::duration longest) {
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

    static constexpr ssize_t queueSize = 256 * 1024;

    /// How long the line needs for this many bytes.
    [[nodiscard]] Clock::duration timeOnLine(ssize_t bytes) const {
        if (speed_.bitsPerSecond == 0) {
            return Clock::duration::zero();
        }
        return std::chrono::duration_cast<Clock::duration>(
            std::chrono::duration<double>(static_cast<double>(bytes) * 8 / speed_.bitsPerSecond));
    }

    int from_;
    int to_;
    Speed speed_;
    Clock::time_point lineIsFree_; ///< when the last queued packet will have left the queue
    std::deque<Packet> packets_;
};

void relay(int left, int right, Speed speed) {
    Lane rightwards(left, right, speed);
    Lane leftwards(right, left, speed);
    while (true) {
        const auto wait = leftwards.deliver(rightwards.deliver(std::chrono::seconds(1)));
        const auto nanoseconds = std::chrono::nanoseconds(wait).count();
        const timespec timeout{.tv_sec = nanoseconds / 1'000'000'000,
                               .tv_nsec = nanoseconds % 1'000'000'000};
        std::array<pollfd, 2> sources{{{.fd = left, .events = POLLIN, .revents = 0},
                                       {.fd = right, .events = POLLIN, .revents = 0}}};
        ::ppoll(sources.data(), sources.size(), &timeout, nullptr);
        rightwards.receive();
        leftwards.receive();
    }
}

} // namespace

int main(int count, char** words) {
    if (count != 5) {
        std::cerr << "usage: " << words[0] << " NAMESPACE NAMESPACE MICROSECONDS BITS_PER_SECOND\n";
        return 2;
    }
    const int left = openDevice(words[1]);
    const int right = openDevice(words[2]);
    if (left < 0 || right < 0) {
        std::cerr << "cannot open the link: " << std::strerror(errno) << '\n';
        return EXIT_FAILURE;
    }
    std::cout << "ready" << std::endl;
    relay(left, right,
          {.delay = std::chrono::microseconds(std::atol(words[3])),
           .bitsPerSecond = std::atof(words[4])});
}
