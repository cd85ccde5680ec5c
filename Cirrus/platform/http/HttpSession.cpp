#include "Cirrus/platform/http/HttpSession.h"

#include <cassert>
#include <chrono>
#include <cstdlib>
#include <utility>

namespace cirrus {

HttpSession& HttpSession::shared() {
    // Never destroyed, since requests may still be made while the process exits. Exit handlers run
    // in reverse order, so this one runs before those of libcurl and OpenSSL, which must not clean
    // up under a running thread.
    static auto* const instance = [] {
        auto* session = new HttpSession;
        static_cast<void>(std::atexit([] { shared().stop(); }));
        return session;
    }();
    return *instance;
}

void HttpSession::start(HttpTransfer transfer) {
    ++unfinished_;
    engine_.submit(std::make_shared<HttpTransfer>(std::move(transfer)));
}

void HttpSession::waitUntilIdle() const {
    assert(!callbacks_.isCurrentThread());
    for (auto count = unfinished_.load(); count != 0; count = unfinished_.load()) {
        unfinished_.wait(count);
    }
}

void HttpSession::stop() {
    constexpr std::chrono::seconds patience(2);
    engine_.stop();
    network_.join(patience);
    callbacks_.stop(patience);
}

void HttpSession::complete(HttpTransfer& transfer) {
    assert(callbacks_.isCurrentThread());
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
