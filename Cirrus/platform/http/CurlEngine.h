#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "Cirrus/platform/http/HttpTransfer.h"
#include "Cirrus/platform/http/TestServer.h"

namespace cirrus {

/// Carries out any number of transfers at a time with libcurl, on the one thread that is in `run`.
class CurlEngine {
public:
    using Ended = std::function<void(std::shared_ptr<HttpTransfer>)>;

    /// Throws `std::system_error` if the system has no descriptor left for it.
    CurlEngine();
    CurlEngine(const CurlEngine&) = delete;
    CurlEngine& operator=(const CurlEngine&) = delete;
    ~CurlEngine();

    /// Starts a transfer; a null `server` means the real network. Safe from any thread; dropped
    /// without a word after `stop`. False, and nothing is started, if `run` cannot be woken up.
    [[nodiscard]] bool submit(const std::shared_ptr<HttpTransfer>& transfer,
                              std::shared_ptr<const TestServer> server);

    /// Drives all transfers on this thread until `stop`, and calls `ended` here for each one that
    /// has ended, with its outcome filled in. Those still in flight at `stop` are dropped.
    void run(const Ended& ended);

    /// Makes `run` return soon. Safe from any thread.
    void stop();

private:
    class Loop;
    using Submitted =
        std::vector<std::pair<std::shared_ptr<HttpTransfer>, std::shared_ptr<const TestServer>>>;

    [[nodiscard]] Submitted takeSubmitted();
    [[nodiscard]] bool hasNews();

    std::mutex mutex_;
    std::shared_ptr<Loop> loop_; ///< shared with whoever wakes it
    Submitted submitted_;
    bool isStopping_ = false;
};

} // namespace cirrus
