#include "Cirrus/platform/MainQueue.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <utility>

#include "Cirrus/platform/Wakeup.h"

namespace cirrus {

namespace {

class BuiltInQueue {
public:
    void post(MainQueue::Task task) {
        {
            const std::scoped_lock lock(mutex_);
            if (tasks_.empty() && descriptor_ >= 0) {
                ::eventfd_write(descriptor_, 1);
            }
            tasks_.push_back(std::move(task));
            ++posted_;
        }
        wakeup_.wake();
    }

    /// The first task, if it is among the first `limit` tasks that were ever posted.
    MainQueue::Task takeAmong(std::uint64_t limit) {
        const std::scoped_lock lock(mutex_);
        const auto taken = posted_ - tasks_.size();
        if (tasks_.empty() || taken >= limit) {
            return {};
        }
        wakeup_.takeOne();
        return takeFirst();
    }

    /// The first task, waiting for it; none once `stop` was called.
    MainQueue::Task wait() {
        while (true) {
            wakeup_.wait();
            const std::scoped_lock lock(mutex_);
            if (std::exchange(isStopping_, false)) {
                return {};
            }
            // `drain` may have been there first.
            if (!tasks_.empty()) {
                return takeFirst();
            }
        }
    }

    void stop() {
        {
            const std::scoped_lock lock(mutex_);
            isStopping_ = true;
        }
        wakeup_.wake();
    }

    /// How many tasks were ever posted.
    [[nodiscard]] std::uint64_t posted() const {
        const std::scoped_lock lock(mutex_);
        return posted_;
    }

    /// Made when first asked for: who does not poll it shall not pay for it.
    [[nodiscard]] int descriptor() {
        const std::scoped_lock lock(mutex_);
        if (descriptor_ < 0) {
            descriptor_ = ::eventfd(tasks_.empty() ? 0 : 1, EFD_CLOEXEC | EFD_NONBLOCK);
        }
        return descriptor_;
    }

private:
    MainQueue::Task takeFirst() {
        auto task = std::move(tasks_.front());
        tasks_.pop_front();
        if (tasks_.empty() && descriptor_ >= 0) {
            eventfd_t counter = 0;
            ::eventfd_read(descriptor_, &counter);
        }
        return task;
    }

    mutable std::mutex mutex_;
    Wakeup wakeup_; ///< once for each task, and for `stop`
    std::deque<MainQueue::Task> tasks_;
    std::uint64_t posted_ = 0;
    bool isStopping_ = false;
    int descriptor_ = -1;
};

struct Shared {
    BuiltInQueue builtIn;
    std::mutex mutex;
    std::shared_ptr<const MainQueue::Dispatcher> dispatcher;
};

/// Never destroyed: a library thread may post while the process is ending.
Shared& shared() {
    static auto* const instance = new Shared;
    return *instance;
}

std::shared_ptr<const MainQueue::Dispatcher> currentDispatcher() {
    const std::scoped_lock lock(shared().mutex);
    return shared().dispatcher;
}

} // namespace

void MainQueue::setDispatcher(Dispatcher dispatcher) {
    std::shared_ptr<const Dispatcher> replaced;
    if (dispatcher) {
        replaced = std::make_shared<const Dispatcher>(std::move(dispatcher));
    }
    const std::scoped_lock lock(shared().mutex);
    shared().dispatcher.swap(replaced);
}

void MainQueue::post(Task task) {
    if (const auto dispatcher = currentDispatcher()) {
        (*dispatcher)(std::move(task));
    } else {
        shared().builtIn.post(std::move(task));
    }
}

void MainQueue::run() {
    while (auto task = shared().builtIn.wait()) {
        task();
    }
}

std::size_t MainQueue::drain() {
    const auto limit = shared().builtIn.posted();
    std::size_t count = 0;
    while (auto task = shared().builtIn.takeAmong(limit)) {
        task();
        ++count;
    }
    return count;
}

int MainQueue::descriptor() {
    return shared().builtIn.descriptor();
}

void MainQueue::stop() {
    shared().builtIn.stop();
}

} // namespace cirrus
