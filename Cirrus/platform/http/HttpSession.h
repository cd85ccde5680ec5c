#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>
#include <optional>

#include "Cirrus/platform/http/HttpTransfer.h"
#include "Cirrus/platform/threads/LibraryThread.h"
#include "Cirrus/platform/threads/TaskQueue.h"

namespace cirrus {

class CurlEngine;

/// The HTTP client of the process. HTTPS only, HTTP/1.1 on connections that are kept alive; no
/// cache, no cookies, no redirects; no request is ever sent twice.
///
/// It has two threads, which start with the first request. The network thread drives all transfers;
/// the callback thread runs their completions one after another, so that a completion that reads a
/// large file stalls no transfer. Both end when the process exits.
class HttpSession {
public:
    static HttpSession& shared();

    HttpSession(const HttpSession&) = delete;
    HttpSession& operator=(const HttpSession&) = delete;

    /// Starts a transfer and returns at once; it cannot be stopped any more. Its completion is
    /// called once, on the callback thread, after the body of the request has been released. If
    /// the system has no thread or descriptor for the session, the completion gets that error on
    /// the main queue, and the next transfer tries again. Safe from any thread.
    void start(HttpTransfer transfer);

    /// Waits until no transfer is in flight and no completion runs. For tests; not on the callback
    /// thread.
    void waitUntilIdle() const;

private:
    friend void connectToTestServer(std::optional<TestServer> server);

    HttpSession();
    ~HttpSession();
    void startThreads();
    void stop();
    void complete(HttpTransfer& transfer);

    std::atomic<std::size_t> unfinished_ = 0;
    TaskQueue callbacks_;

    std::mutex mutex_;                         ///< guards what follows
    std::shared_ptr<const TestServer> server_; ///< null: the real network
    std::unique_ptr<CurlEngine> engine_;
    std::unique_ptr<LibraryThread> callbackThread_;
    std::unique_ptr<LibraryThread> networkThread_; ///< the last to start
};

} // namespace cirrus
