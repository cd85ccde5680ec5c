#include "Cirrus/platform/SerialQueue.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>

#include "Cirrus/platform/LibraryThread.h"

namespace cirrus {

/// Shared with the thread, which may outlive the queue by the task that it is in.
struct SerialQueue::State {
    void run() {
        std::unique_lock lock(mutex);
        thread = std::this_thread::get_id();
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
        hasEnded = true;
        changed.notify_all();
    }

    std::mutex mutex;
    std::condition_variable changed;
    std::deque<Task> tasks;
    std::thread::id thread;
    bool isStopping = false;
    bool hasEnded = false;
};

SerialQueue::SerialQueue() : state_(std::make_shared<State>()) {
    startLibraryThread([state = state_] { state->run(); });
}

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
    std::unique_lock lock(state_->mutex);
    state_->isStopping = true;
    state_->changed.notify_all();
    if (state_->thread != std::this_thread::get_id()) {
        state_->changed.wait_for(lock, bound, [this] { return state_->hasEnded; });
    }
}

} // namespace cirrus
