#include "Cirrus/platform/SerialQueue.h"

#include <deque>
#include <mutex>
#include <utility>

#include "Cirrus/platform/Wakeup.h"

namespace cirrus {

/// Shared with the thread, which may outlive the queue by the task that it is in.
struct SerialQueue::State {
    explicit State(std::function<void()> hook) : afterTask(std::move(hook)) {}

    void run() {
        while (auto task = next()) {
            task();
            task = {};
            if (afterTask) {
                afterTask();
            }
        }
    }

    /// The first task, waiting for it; none once the queue is stopping.
    Task next() {
        wakeup.wait();
        const std::scoped_lock lock(mutex);
        if (isStopping) {
            return {};
        }
        auto task = std::move(tasks.front());
        tasks.pop_front();
        return task;
    }

    const std::function<void()> afterTask;
    std::mutex mutex;
    Wakeup wakeup; ///< once for each task, and when stopping
    std::deque<Task> tasks;
    bool isStopping = false;
};

SerialQueue::SerialQueue(std::function<void()> afterTask)
    : state_(std::make_shared<State>(std::move(afterTask))),
      thread_([state = state_] { state->run(); }) {}

SerialQueue::~SerialQueue() {
    stop(std::chrono::milliseconds::zero());
}

void SerialQueue::post(Task task) {
    {
        const std::scoped_lock lock(state_->mutex);
        if (state_->isStopping) {
            return;
        }
        state_->tasks.push_back(std::move(task));
    }
    state_->wakeup.wake();
}

bool SerialQueue::isEmpty() const {
    const std::scoped_lock lock(state_->mutex);
    return state_->tasks.empty();
}

void SerialQueue::stop(std::chrono::milliseconds bound) {
    {
        const std::scoped_lock lock(state_->mutex);
        state_->isStopping = true;
    }
    state_->wakeup.wake();
    thread_.join(bound);
}

} // namespace cirrus
