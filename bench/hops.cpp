// What it costs to hand something from one thread to another and wait for it to come back. Prints
// microseconds per hop: by semaphore, as towards the callback thread and the main queue, and by
// event descriptor, as towards the network thread.

#include <array>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <thread>

#include "Cirrus/platform/Poller.h"
#include "Cirrus/platform/Wakeup.h"

namespace {

class SemaphoreBaton {
public:
    void give() { wakeup_.wake(); }

    void take() { wakeup_.wait(); }

private:
    cirrus::Wakeup wakeup_;
};

class DescriptorBaton {
public:
    void give() { poller_.wake(); }

    void take() {
        poller_.wait(std::nullopt, [](const auto&) {});
    }

private:
    cirrus::Poller poller_;
};

/// Microseconds from `give` on one thread to the end of `take` on the other.
template <class Baton>
double hop() {
    constexpr int rounds = 50'000;
    Baton there;
    Baton back;
    const std::jthread partner([&] {
        for (int round = 0; round < rounds; ++round) {
            there.take();
            back.give();
        }
    });
    const auto start = std::chrono::steady_clock::now();
    for (int round = 0; round < rounds; ++round) {
        there.give();
        back.take();
    }
    const std::chrono::duration<double, std::micro> spent =
        std::chrono::steady_clock::now() - start;
    return spent.count() / (2 * rounds);
}

} // namespace

int main() {
    const double bySemaphore = hop<SemaphoreBaton>();
    const double byDescriptor = hop<DescriptorBaton>();
    std::cout << "semaphore " << bySemaphore << " descriptor " << byDescriptor << '\n';
    return EXIT_SUCCESS;
}
