#include <Cirrus/MainQueue.h>

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <utility>

#include "Cirrus/platform/threads/ProcessExit.h"
#include "Cirrus/platform/threads/QueueDescriptor.h"

namespace cirrus {

namespace {

class BuiltInQueue {
public:
    void post(MainQueue::Task task) {
        {
            const std::scoped_lock lock(mutex_);
            if (tasks_.empty()) {
                descriptor_.setReadable();
            }
            tasks_.push_back(std::move(task));
            ++posted_;
        }
        // Not under the lock, which the thread that wakes up wants at once.
        changed_.notify_one();
    }

    /// The first task, if it is among the first `limit` tasks that were ever posted.
    MainQueue::Task takeAmong(std::uint64_t limit) {
        const std::scoped_lock lock(mutex_);
        const auto taken = posted_ - tasks_.size();
        return tasks_.empty() || taken >= limit ? MainQueue::Task() : takeFirst();
    }

    /// The first task, waiting for it; empty once `stop` was called.
    MainQueue::Task wait() {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return isStopping_ || !tasks_.empty(); });
        return std::exchange(isStopping_, false) ? MainQueue::Task() : takeFirst();
    }

    void stop() {
        const std::scoped_lock lock(mutex_);
        isStopping_ = true;
        changed_.notify_all();
    }

    /// How many tasks were ever posted.
    [[nodiscard]] std::uint64_t posted() const {
        const std::scoped_lock lock(mutex_);
        return posted_;
    }

    /// Created on first use; hosts that never poll pay nothing.
    [[nodiscard]] int descriptor() {
        const std::scoped_lock lock(mutex_);
        const int descriptor = descriptor_.open();
        if (!tasks_.empty()) {
            descriptor_.setReadable();
        }
        return descriptor;
    }

private:
    /// With the lock held.
    MainQueue::Task takeFirst() {
        auto task = std::move(tasks_.front());
        tasks_.pop_front();
        if (tasks_.empty()) {
            descriptor_.setUnreadable();
        }
        return task;
    }

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<MainQueue::Task> tasks_;
    std::uint64_t posted_ = 0;
    bool isStopping_ = false;
    QueueDescriptor descriptor_; ///< readable while there are tasks
};

struct Shared {
    BuiltInQueue builtIn;
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
    while (auto task = shared().builtIn.wait()) {
        task();
    }
}

std::size_t MainQueue::drain() noexcept {
    const auto limit = shared().builtIn.posted();
    std::size_t count = 0;
    while (auto task = shared().builtIn.takeAmong(limit)) {
        task();
        ++count;
    }
    return count;
}

int MainQueue::descriptor() noexcept {
    return shared().builtIn.descriptor();
}

void MainQueue::stop() noexcept {
    shared().builtIn.stop();
}

} // namespace cirrus
