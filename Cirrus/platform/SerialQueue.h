#pragma once

#include <chrono>
#include <functional>
#include <memory>

#include "Cirrus/platform/LibraryThread.h"

namespace cirrus {

/// Runs tasks one after another, in order, on one thread of its own.
class SerialQueue {
public:
    using Task = std::move_only_function<void()>;

    /// `afterTask` is called on the thread after each task, once that is destroyed. It may go on
    /// for as long as the queue is empty.
    explicit SerialQueue(std::function<void()> afterTask = {});
    SerialQueue(const SerialQueue&) = delete;
    SerialQueue& operator=(const SerialQueue&) = delete;
    ~SerialQueue();

    /// Puts a task on the queue and returns at once. Nothing is taken after `stop`.
    void post(Task task);

    /// Whether no task waits.
    [[nodiscard]] bool isEmpty() const;

    /// Whether the caller is the thread of the queue.
    [[nodiscard]] bool isCurrent() const { return thread_.isCurrent(); }

    /// Begins no further task, and waits for the one that runs, but no longer than `bound`, and
    /// not when that task is the caller.
    void stop(std::chrono::milliseconds bound);

private:
    struct State;
    std::shared_ptr<State> state_;
    LibraryThread thread_;
};

} // namespace cirrus
