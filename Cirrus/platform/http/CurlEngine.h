#pragma once

#include <curl/curl.h>

#include <map>
#include <mutex>
#include <utility>

#include "Cirrus/platform/http/ConnectionTable.h"
#include "Cirrus/platform/http/CurlTransfer.h"

namespace cirrus {

/// Carries out any number of transfers at a time with libcurl, on the one thread that is in `run`.
/// Never destroyed.
class CurlEngine {
public:
    using Ended = std::function<void(std::shared_ptr<HttpTransfer>)>;

    /// `ended` is called in `run` for each transfer that has ended, with its outcome filled in.
    /// Throws `std::system_error` if the system has no descriptor left for it.
    explicit CurlEngine(Ended ended);

    /// Starts a transfer. Safe from any thread; dropped without a word after `stop`. Throws
    /// `std::system_error`, and starts nothing, if `run` cannot be woken up.
    void submit(const std::shared_ptr<HttpTransfer>& transfer);

    /// Drives all transfers on this thread until `stop`. Those still in flight then are dropped.
    void run();

    /// Makes `run` return soon. Safe from any thread.
    void stop();

private:
    using Clock = CurlTransfer::Clock;
    using Transfers = std::vector<std::shared_ptr<HttpTransfer>>;

    [[nodiscard]] std::optional<Transfers> takeSubmitted();
    void begin(std::shared_ptr<HttpTransfer> transfer);
    void advance();
    void endOverdue();
    void end(CURL* easy, CURLcode code);
    void wait();

    const Ended ended_;

    CURLM* const multi_; ///< never freed: somebody may be about to wake it

    std::mutex mutex_; ///< guards the two below
    Transfers submitted_;
    bool isStopping_ = false;

    ConnectionTable connections_;
    std::map<CURL*, std::unique_ptr<CurlTransfer>> transfers_;
    Clock::time_point nextLook_;
};

} // namespace cirrus
