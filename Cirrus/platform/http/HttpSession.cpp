#include "Cirrus/platform/http/HttpSession.h"

#include <cassert>
#include <chrono>
#include <system_error>
#include <utility>

#include <Cirrus/MainQueue.h>

#include "Cirrus/platform/http/CurlEngine.h"
#include "Cirrus/platform/threads/LibraryThread.h"
#include "Cirrus/platform/threads/ProcessExit.h"
#include "Cirrus/platform/threads/SerialQueue.h"

namespace cirrus {

struct HttpSession::Threads {
    /// Throws `std::system_error` if the system refuses a thread or a descriptor.
    explicit Threads(HttpSession& session)
        : network([this, &session] {
              engine.run([this, &session](std::shared_ptr<HttpTransfer> transfer) {
                  end(session, std::move(transfer));
              });
          }) {}

    void end(HttpSession& session, std::shared_ptr<HttpTransfer> transfer) {
        callbacks.post([&session, transfer = std::move(transfer)] { session.complete(*transfer); });
    }

    CurlEngine engine;
    SerialQueue callbacks;
    LibraryThread network;
};

HttpSession& HttpSession::shared() {
    // Never destroyed, since requests may still be made while the process exits.
    static auto* const instance = new HttpSession;
    return *instance;
}

void HttpSession::start(HttpTransfer transfer) {
    auto shared = std::make_shared<HttpTransfer>(std::move(transfer));
    std::unique_lock lock(mutex_);
    if (const auto started = startThreads(); !started) {
        lock.unlock();
        shared->outcome.error = started.error();
        MainQueue::post([shared] { shared->completion(std::move(shared->outcome)); });
        return;
    }
    ++unfinished_;
    if (!threads_->engine.submit(shared, server_)) {
        shared->outcome.error = TransportError{.reason = TransportError::Reason::other,
                                               .code = 0,
                                               .text = "The network thread cannot be woken up"};
        threads_->end(*this, std::move(shared));
    }
}

void HttpSession::waitUntilIdle() const {
    for (auto count = unfinished_.load(); count != 0; count = unfinished_.load()) {
        unfinished_.wait(count);
    }
}

void HttpSession::connectTo(std::optional<TestServer> server) {
    auto shared = server ? std::make_shared<const TestServer>(*std::move(server)) : nullptr;
    const std::scoped_lock lock(mutex_);
    server_.swap(shared);
}

/// With the lock held.
Result<void, TransportError> HttpSession::startThreads() {
    if (threads_) {
        return {};
    }
    try {
        threads_ = std::make_unique<Threads>(*this);
    } catch (const std::system_error& error) {
        return std::unexpected(TransportError{.reason = TransportError::Reason::other,
                                              .code = 0,
                                              .text = "The system has no thread or descriptor: " +
                                                      error.code().message()});
    }
    // Exit handlers run in reverse order, so this one runs before those of libcurl and OpenSSL,
    // which must not clean up under a running thread.
    atProcessExit([] { shared().stop(); });
    return {};
}

void HttpSession::stop() {
    constexpr std::chrono::seconds patience(2);
    threads_->engine.stop();
    threads_->network.join(patience);
    threads_->callbacks.stop(patience);
}

void HttpSession::complete(HttpTransfer& transfer) {
    assert(threads_->callbacks.isCurrentThread());
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
    HttpSession::shared().connectTo(std::move(server));
}

} // namespace cirrus
