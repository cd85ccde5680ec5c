#include "Cirrus/platform/threads/LibraryThread.h"

#include <memory>
#include <utility>

#include "Cirrus/platform/threads/Process.h"

namespace cirrus {

namespace {

/// Null on the host's threads. Its destruction tells of the thread's end; not
/// `set_value_at_thread_exit`, since libstdc++ does nothing of the kind once the process exits.
thread_local std::shared_ptr<std::promise<void>> endOfThread;

} // namespace

LibraryThread::LibraryThread(std::function<void()> body) {
    auto end = std::make_shared<std::promise<void>>();
    ended_ = end->get_future();
    auto run = [body = std::move(body), end = std::move(end)]() mutable {
        endOfThread = std::move(end);
        body();
    };
    // A thread inherits the mask of its creator, so there is no moment in which it has another.
    withSignalsBlocked([&] { thread_ = std::thread(std::move(run)); });
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
