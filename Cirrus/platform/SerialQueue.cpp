#include "Cirrus/platform/SerialQueue.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <utility>

namespace cirrus {

/// Shared with the thread, which may outlive the queue by the task that it is in.
struct SerialQueue::State {
    void run() {
        std::unique_lock lock(mutex);
        while (true) {
            changed.wait(lock, [this] { return isStopping || !tasks.empty(); });
            if (isStopping) {
                break;
            }
            auto task = std::move(tasks.front());
            tasks.pop_front();
            lock.unlock();
            task();
            task = nullptr;
            lock.lock();
        }
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
    state_->changed.notify_all();
}

void SerialQueue::stop(std::chrono::milliseconds bound) {
    {
        const std::scoped_lock lock(state_->mutex);
        state_->isStopping = true;
    }
    state_->changed.notify_all();
    thread_.join(bound);
}

} // namespace cirrus
