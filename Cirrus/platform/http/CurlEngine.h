#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

#include "Cirrus/platform/http/HttpTransfer.h"
#include "Cirrus/platform/http/TestServer.h"

namespace cirrus {

/// Carries out any number of transfers at a time with libcurl, on the one thread that is in `run`.
class CurlEngine {
public:
    using Ended = std::function<void(std::shared_ptr<HttpTransfer>)>;

    CurlEngine();
    CurlEngine(const CurlEngine&) = delete;
    CurlEngine& operator=(const CurlEngine&) = delete;
    ~CurlEngine();

    /// Starts a transfer. Safe from any thread; dropped without a word after `stop`.
    void submit(std::shared_ptr<HttpTransfer> transfer);

    /// Counts for transfers submitted from now on. Safe from any thread.
    void connectTo(std::optional<TestServer> server);

    /// Drives all transfers on this thread until `stop`, and calls `ended` here for each one that
    /// has ended, with its outcome filled in. Those still in flight at `stop` are dropped.
    void run(const Ended& ended);

    /// Makes `run` return soon. Safe from any thread.
    void stop();

private:
    class Loop;
    using ServerPointer = std::shared_ptr<const TestServer>;
    using Submitted = std::vector<std::pair<std::shared_ptr<HttpTransfer>, ServerPointer>>;

    [[nodiscard]] Submitted takeSubmitted();
    [[nodiscard]] bool hasNews();

    std::mutex mutex_;
    std::shared_ptr<Loop> loop_; ///< shared with whoever wakes it
    Submitted submitted_;
    ServerPointer server_; ///< null: the real network
    bool isStopping_ = false;
};

} // namespace cirrus
