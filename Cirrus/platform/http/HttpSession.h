#pragma once

#include <atomic>
#include <cstddef>
#include <mutex>

#include "Cirrus/platform/http/HttpTransfer.h"
#include "Cirrus/platform/threads/LibraryThread.h"
#include "Cirrus/platform/threads/TaskQueue.h"

namespace cirrus {

class CurlEngine;

/// The HTTP client of the process. HTTPS only, HTTP/1.1 on connections that are kept alive; no
/// cache, no cookies, no redirects; no request is ever sent twice.
///
/// The network thread drives all transfers; the callback thread runs their completions one after
/// another, so that one that reads a large file stalls no transfer. Both start with the first
/// request and end when the process exits.
class HttpSession {
public:
    static HttpSession& shared();

    /// Starts a transfer and returns at once. Its completion is called once, on the callback
    /// thread, after the body of the request has been released; or on the main queue, if the system
    /// has no thread or descriptor, which the next transfer tries again. Safe from any thread.
    void start(HttpTransfer transfer);

    /// Waits until no transfer is in flight and no completion runs. For tests; not on the callback
    /// thread.
    void waitUntilIdle() const;

private:
    friend void connectToTestServer(std::optional<TestServer> server);

    HttpSession() = default;
    void startThreads();
    void stop();
    void complete(HttpTransfer& transfer);

    std::atomic<std::size_t> unfinished_ = 0;
    TaskQueue callbacks_;

    std::mutex mutex_;                         ///< guards what follows
    std::shared_ptr<const TestServer> server_; ///< null: the real network
    std::shared_ptr<CurlEngine> engine_;
    std::unique_ptr<LibraryThread> callbackThread_;
    std::unique_ptr<LibraryThread> networkThread_; ///< the last to start
};

} // namespace cirrus
