#include <Cirrus/MainQueue.h>

#include <algorithm>
#include <memory>
#include <mutex>
#include <utility>

#include "Cirrus/platform/threads/Process.h"
#include "Cirrus/platform/threads/TaskQueue.h"

namespace cirrus {

namespace {

struct Shared {
    TaskQueue tasks;
    std::mutex mutex;
    std::shared_ptr<const MainQueue::WakeUp> wakeUp;
};

/// Never destroyed: a library thread may post while the process exits.
Shared& shared() {
    static auto* const instance = new Shared;
    return *instance;
}

void wakeHost() {
    std::shared_ptr<const MainQueue::WakeUp> wakeUp;
    if (mayCallHost()) {
        const std::scoped_lock lock(shared().mutex);
        wakeUp = shared().wakeUp;
    }
    if (wakeUp && *wakeUp) {
        (*wakeUp)();
    }
}

} // namespace

void MainQueue::setWakeUp(WakeUp wakeUp) noexcept {
    auto replaced = std::make_shared<const WakeUp>(std::move(wakeUp));
    {
        const std::scoped_lock lock(shared().mutex);
        shared().wakeUp.swap(replaced);
    }
    if (shared().tasks.size() > 0) {
        wakeHost();
    }
}

void MainQueue::post(Task task) noexcept {
    shared().tasks.post(std::exchange(task, nullptr));
    wakeHost();
}

void MainQueue::run() noexcept {
    while (const auto task = shared().tasks.wait()) {
        task();
    }
}

std::size_t MainQueue::drain(std::size_t most) noexcept {
    most = std::min(most, shared().tasks.size());
    for (std::size_t count = 0; count < most; ++count) {
        const auto task = shared().tasks.take();
        if (!task) {
            return count; // a task ran a nested event loop, which took the rest
        }
        task();
    }
    return most;
}

void MainQueue::stop() noexcept {
    shared().tasks.stop();
}

} // namespace cirrus
