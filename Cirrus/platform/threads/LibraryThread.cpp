#include "Cirrus/platform/threads/LibraryThread.h"

#include <memory>
#include <utility>

#include "Cirrus/platform/threads/SignalMask.h"

namespace cirrus {

namespace {

/// Says that a thread ends, by its own end.
class End {
public:
    explicit End(std::shared_ptr<std::promise<void>> end) : end_(std::move(end)) {}

    End(const End&) = delete;
    End& operator=(const End&) = delete;

    ~End() { end_->set_value(); }

private:
    const std::shared_ptr<std::promise<void>> end_;
};

/// Null on the host's threads. Not `set_value_at_thread_exit`: libstdc++ does nothing of the kind
/// any more once the process exits.
thread_local std::unique_ptr<End> endOfThread;

} // namespace

LibraryThread::LibraryThread(std::function<void()> body) {
    auto end = std::make_shared<std::promise<void>>();
    ended_ = end->get_future();
    auto run = [body = std::move(body), end = std::move(end)] {
        endOfThread = std::make_unique<End>(end);
        body();
    };
    // A thread inherits the mask of its creator, so there is no moment in which it has another.
    withSignalsBlocked([&] { thread_ = std::thread(std::move(run)); });
}

LibraryThread::~LibraryThread() {
    if (thread_.joinable()) {
        thread_.detach();
    }
}

bool LibraryThread::join(std::chrono::milliseconds bound) {
    if (!thread_.joinable()) {
        return true;
    }
    if (isCurrent() || ended_.wait_for(bound) != std::future_status::ready) {
        return false;
    }
    thread_.join(); // libcurl and OpenSSL free their thread-local data last
    return true;
}

bool isLibraryThread() {
    return endOfThread != nullptr;
}

} // namespace cirrus
