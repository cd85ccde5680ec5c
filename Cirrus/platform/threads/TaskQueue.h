#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>

#include "Cirrus/platform/threads/QueueDescriptor.h"

namespace cirrus {

/// Tasks that wait, in order, for a thread to run them. Safe from any thread.
class TaskQueue {
public:
    using Task = std::function<void()>;

    void post(Task task);

    /// How many tasks wait.
    [[nodiscard]] std::size_t size() const;

    /// The first task; empty if there is none.
    [[nodiscard]] Task take();

    /// The first task, waiting for it; empty after `stop`.
    [[nodiscard]] Task wait();

    /// Makes one `wait`, the current or the next, return without a task.
    void stop();

    /// Readable while tasks wait; see `MainQueue::descriptor`.
    [[nodiscard]] int descriptor();

private:
    [[nodiscard]] Task takeFirst();

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Task> tasks_;
    bool isStopping_ = false;
    QueueDescriptor descriptor_;
};

} // namespace cirrus
