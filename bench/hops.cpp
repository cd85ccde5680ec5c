// What it costs to hand something from one thread to another and wait for it to come back. Prints
// microseconds per hop: by condition variable, as between the steps of a job, and by event
// descriptor, as towards the network thread.

#include <sys/eventfd.h>

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <iostream>
#include <mutex>
#include <thread>

namespace {

class ConditionBaton {
public:
    void give() {
        {
            const std::scoped_lock lock(mutex_);
            isHere_ = true;
        }
        changed_.notify_one();
    }

    void take() {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return isHere_; });
        isHere_ = false;
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    bool isHere_ = false;
};

class DescriptorBaton {
public:
    void give() const { ::eventfd_write(descriptor_, 1); }

    void take() const {
        eventfd_t count = 0;
        ::eventfd_read(descriptor_, &count);
    }

private:
    int descriptor_ = ::eventfd(0, EFD_CLOEXEC);
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
    const double byCondition = hop<ConditionBaton>();
    const double byDescriptor = hop<DescriptorBaton>();
    std::cout << "condition " << byCondition << " descriptor " << byDescriptor << '\n';
    return EXIT_SUCCESS;
}
