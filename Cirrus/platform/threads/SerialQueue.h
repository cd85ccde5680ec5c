#pragma once

#include <chrono>
#include <functional>
#include <memory>

#include "Cirrus/platform/threads/LibraryThread.h"

namespace cirrus {

/// Runs tasks one after another, in order, on a thread of its own.
class SerialQueue {
public:
    using Task = std::function<void()>;

    SerialQueue();
    SerialQueue(const SerialQueue&) = delete;
    SerialQueue& operator=(const SerialQueue&) = delete;
    ~SerialQueue();

    /// Adds a task and returns at once. Ignored after `stop`. Safe from any thread.
    void post(Task task);

    /// Whether the caller is on the queue's thread.
    [[nodiscard]] bool isCurrentThread() const { return thread_.isCurrent(); }

    /// Starts no further task. Waits for the running one, but no longer than `bound`, and not if
    /// that task is the caller.
    void stop(std::chrono::milliseconds bound);

private:
    struct State;
    /// Shared with the thread, which outlives this object if a task runs longer than `bound`.
    std::shared_ptr<State> state_;
    LibraryThread thread_;
};

} // namespace cirrus
