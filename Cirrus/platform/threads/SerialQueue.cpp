#include "Cirrus/platform/threads/SerialQueue.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <utility>

namespace cirrus {

struct SerialQueue::State {
    void run() {
        while (auto task = waitForTask()) {
            task();
        }
    }

    /// Empty once the queue is stopping.
    Task waitForTask() {
        std::unique_lock lock(mutex);
        changed.wait(lock, [this] { return isStopping || !tasks.empty(); });
        if (isStopping) {
            return {};
        }
        auto task = std::move(tasks.front());
        tasks.pop_front();
        return task;
    }

    std::mutex mutex;
    std::condition_variable changed;
    std::deque<Task> tasks;
    bool isStopping = false;
};

SerialQueue::SerialQueue()
    : state_(std::make_shared<State>()), thread_([state = state_] { state->run(); }) {}

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
    // Not under the lock, which the thread that wakes up wants at once.
    state_->changed.notify_one();
}

void SerialQueue::stop(std::chrono::milliseconds bound) {
    {
        const std::scoped_lock lock(state_->mutex);
        state_->isStopping = true;
        state_->changed.notify_one();
    }
    thread_.join(bound);
}

} // namespace cirrus
