#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <utility>

namespace cirrus {

/// Tasks that wait, in order, for a thread to run them. Safe from any thread.
class TaskQueue {
public:
    using Task = std::function<void()>;

    void post(Task task) {
        {
            const std::scoped_lock lock(mutex_);
            tasks_.emplace_back().swap(task); // a move could leave a copy with the caller
        }
        changed_.notify_one(); // not under the lock, which the thread that wakes up wants at once
    }

    /// How many tasks wait.
    [[nodiscard]] std::size_t size() const {
        const std::scoped_lock lock(mutex_);
        return tasks_.size();
    }

    /// The first task; empty if there is none.
    [[nodiscard]] Task take() {
        const std::scoped_lock lock(mutex_);
        return takeFirst();
    }

    /// The first task, waiting for it; empty after `stop`.
    [[nodiscard]] Task wait() {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return isStopping_ || !tasks_.empty(); });
        return std::exchange(isStopping_, false) ? Task() : takeFirst();
    }

    /// Makes one `wait`, the current or the next, return without a task.
    void stop() {
        const std::scoped_lock lock(mutex_);
        isStopping_ = true;
        changed_.notify_all();
    }

private:
    [[nodiscard]] Task takeFirst() {
        if (tasks_.empty()) {
            return {};
        }
        auto task = std::exchange(tasks_.front(), nullptr);
        tasks_.pop_front();
        return task;
    }

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Task> tasks_;
    bool isStopping_ = false;
};

} // namespace cirrus
