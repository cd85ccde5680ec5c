#include "Cirrus/platform/threads/TaskQueue.h"

#include <utility>

namespace cirrus {

void TaskQueue::post(Task task) {
    const std::scoped_lock lock(mutex_);
    if (tasks_.empty()) {
        descriptor_.setReadable();
    }
    tasks_.push_back(std::move(task));
    changed_.notify_one();
}

std::size_t TaskQueue::size() const {
    const std::scoped_lock lock(mutex_);
    return tasks_.size();
}

TaskQueue::Task TaskQueue::take() {
    const std::scoped_lock lock(mutex_);
    return tasks_.empty() ? Task() : takeFirst();
}

TaskQueue::Task TaskQueue::wait() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return isStopping_ || !tasks_.empty(); });
    return std::exchange(isStopping_, false) ? Task() : takeFirst();
}

void TaskQueue::stop() {
    const std::scoped_lock lock(mutex_);
    isStopping_ = true;
    changed_.notify_all();
}

int TaskQueue::descriptor() {
    const std::scoped_lock lock(mutex_);
    // Opened on first use: hosts that never poll pay nothing.
    const int descriptor = descriptor_.open();
    if (!tasks_.empty()) {
        descriptor_.setReadable();
    }
    return descriptor;
}

/// With the lock held.
TaskQueue::Task TaskQueue::takeFirst() {
    auto task = std::move(tasks_.front());
    tasks_.pop_front();
    if (tasks_.empty()) {
        descriptor_.setUnreadable();
    }
    return task;
}

} // namespace cirrus
