#include "Cirrus/platform/http/HttpSession.h"

#include <cassert>
#include <chrono>
#include <system_error>

#include <Cirrus/MainQueue.h>

#include "Cirrus/platform/http/CurlEngine.h"
#include "Cirrus/platform/threads/Process.h"

namespace cirrus {

HttpSession& HttpSession::shared() {
    // Never destroyed, since requests may still be made while the process exits.
    static auto* const instance = new HttpSession;
    return *instance;
}

void HttpSession::start(HttpTransfer transfer) {
    auto shared = std::make_shared<HttpTransfer>(std::move(transfer));
    ++unfinished_;
    std::unique_lock lock(mutex_);
    shared->request.server = server_;
    if (server_) {
        shared->request.idleLimit = server_->idleLimit.value_or(shared->request.idleLimit);
    }
    try {
        startThreads();
        engine_->submit(shared);
    } catch (const std::system_error& error) {
        lock.unlock();
        shared->request.body = {};
        shared->outcome.error = TransportError{.text = "The system has no thread or descriptor: " +
                                                       error.code().message()};
        MainQueue::post([shared] { shared->completion(std::move(shared->outcome)); });
        --unfinished_;
        unfinished_.notify_all();
    }
}

void HttpSession::waitUntilIdle() const {
    for (auto count = unfinished_.load(); count != 0; count = unfinished_.load()) {
        unfinished_.wait(count);
    }
}

/// With the lock held. Throws `std::system_error` if the system refuses a thread or a descriptor;
/// what was started until then is there for the next call.
void HttpSession::startThreads() {
    if (networkThread_) {
        return;
    }
    keepLibraryLoaded();
    if (!engine_) {
        engine_ = std::make_shared<CurlEngine>([this](std::shared_ptr<HttpTransfer> transfer) {
            callbacks_.post([this, transfer = std::move(transfer)] { complete(*transfer); });
        });
    }
    if (!callbackThread_) {
        callbackThread_ = std::make_unique<LibraryThread>([this] {
            while (const auto task = callbacks_.wait()) {
                task();
            }
        });
    }
    networkThread_ = std::make_unique<LibraryThread>([this] { engine_->run(); });
    // Exit handlers run in reverse order, so this one runs before those of libcurl and OpenSSL,
    // which must not clean up under a running thread.
    atProcessExit([] { shared().stop(); });
}

void HttpSession::stop() {
    constexpr std::chrono::seconds patience(2);
    engine_->stop();
    networkThread_->join(patience);
    callbacks_.stop();
    callbackThread_->join(patience);
}

void HttpSession::complete(HttpTransfer& transfer) {
    assert(callbackThread_->isCurrent());
    // Before the completion, which may read the next file.
    transfer.request.body = {};
    if (transfer.progress && transfer.outcome.response && transfer.outcome.response->isSuccess()) {
        transfer.progress->finish();
    }
    std::exchange(transfer.completion, nullptr)(std::move(transfer.outcome));
    --unfinished_;
    unfinished_.notify_all();
}

void connectToTestServer(std::optional<TestServer> server) {
    auto shared = server ? std::make_shared<const TestServer>(*std::move(server)) : nullptr;
    const std::scoped_lock lock(HttpSession::shared().mutex_);
    HttpSession::shared().server_.swap(shared);
}

} // namespace cirrus
