#include <Cirrus/MainQueue.h>

#include <memory>
#include <mutex>
#include <utility>

#include "Cirrus/platform/threads/Process.h"
#include "Cirrus/platform/threads/TaskQueue.h"

namespace cirrus {

namespace {

struct Shared {
    TaskQueue builtIn;
    std::mutex mutex;
    std::shared_ptr<const MainQueue::Dispatcher> dispatcher;
};

/// Never destroyed: a library thread may post while the process exits.
Shared& shared() {
    static auto* const instance = new Shared;
    return *instance;
}

std::shared_ptr<const MainQueue::Dispatcher> currentDispatcher() {
    const std::scoped_lock lock(shared().mutex);
    return shared().dispatcher;
}

} // namespace

void MainQueue::setDispatcher(Dispatcher dispatcher) noexcept {
    std::shared_ptr<const Dispatcher> replaced;
    if (dispatcher) {
        replaced = std::make_shared<const Dispatcher>(std::move(dispatcher));
    }
    const std::scoped_lock lock(shared().mutex);
    shared().dispatcher.swap(replaced);
}

void MainQueue::post(Task task) noexcept {
    const auto dispatcher = mayCallHost() ? currentDispatcher() : nullptr;
    if (dispatcher) {
        (*dispatcher)(std::move(task));
    } else {
        shared().builtIn.post(std::move(task));
    }
}

void MainQueue::run() noexcept {
    while (const auto task = shared().builtIn.wait()) {
        task();
    }
}

std::size_t MainQueue::drain() noexcept {
    const auto most = shared().builtIn.size();
    for (std::size_t count = 0; count < most; ++count) {
        // A task may have run a nested event loop, which took some.
        if (const auto task = shared().builtIn.take()) {
            task();
        } else {
            return count;
        }
    }
    return most;
}

int MainQueue::descriptor() noexcept {
    return shared().builtIn.descriptor();
}

void MainQueue::stop() noexcept {
    shared().builtIn.stop();
}

} // namespace cirrus
