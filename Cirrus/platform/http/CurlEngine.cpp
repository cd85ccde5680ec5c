#include "Cirrus/platform/http/CurlEngine.h"

#include <curl/curl.h>

#include <algorithm>
#include <limits>
#include <map>
#include <system_error>

#include "Cirrus/platform/http/CurlTransfer.h"

namespace cirrus {

namespace {

/// libcurl's own limit falls with the number of requests in flight, so that it would close the
/// connections of jobs that are between two requests.
constexpr long mostKeptConnections = 1024;

/// How often within the idle limit the byte counts are looked at: often enough to find out within
/// about a hundredth of the limit.
constexpr int looksPerIdleLimit = 80;

} // namespace

/// libcurl's multi handle and the transfers in flight. Used on the network thread, but for `wake`.
class CurlEngine::Loop {
public:
    Loop() : multi_(curl_multi_init()) {
        // Without a descriptor for it, libcurl makes a handle that nobody can wake.
        if (curl_multi_wakeup(multi_) != CURLM_OK) {
            curl_multi_cleanup(multi_);
            throw std::system_error(std::make_error_code(std::errc::too_many_files_open));
        }
        curl_multi_setopt(multi_, CURLMOPT_MAXCONNECTS, mostKeptConnections);
    }

    Loop(const Loop&) = delete;
    Loop& operator=(const Loop&) = delete;

    ~Loop() {
        for (const auto& [easy, transfer] : transfers_) {
            curl_multi_remove_handle(multi_, easy);
        }
        transfers_.clear();
        curl_multi_cleanup(multi_);
    }

    void begin(std::shared_ptr<HttpTransfer> transfer, std::shared_ptr<const TestServer> server,
               const Ended& ended) {
        if (auto reason = reasonNotToSend(transfer->request)) {
            transfer->outcome.error = TransportError{
                .reason = TransportError::Reason::other, .code = 0, .text = *std::move(reason)};
            ended(std::move(transfer));
            return;
        }
        auto started =
            std::make_unique<CurlTransfer>(std::move(transfer), std::move(server), connections_);
        CURL* const easy = started->easy();
        transfers_.emplace(easy, std::move(started));
        if (curl_multi_add_handle(multi_, easy) != CURLM_OK) {
            end(easy, CURLE_OUT_OF_MEMORY, ended);
        }
    }

    /// Moves all transfers on as far as they can go without waiting.
    void advance(const Ended& ended) {
        int count = 0;
        curl_multi_perform(multi_, &count);
        while (const CURLMsg* message = curl_multi_info_read(multi_, &count)) {
            if (message->msg == CURLMSG_DONE) {
                // NOLINTNEXTLINE(cppcoreguidelines-pro-type-union-access): libcurl's interface
                end(message->easy_handle, message->data.result, ended);
            }
        }
        endOverdue(ended);
    }

    /// Waits until a transfer can go on, the next look at idle ones is due, or `wake` is called.
    void wait() {
        using std::chrono::milliseconds;
        const auto left = std::chrono::ceil<milliseconds>(nextLook_ - Clock::now());
        const auto limit = transfers_.empty() ? std::numeric_limits<int>::max()
                                              : std::max(0, static_cast<int>(left.count()));
        curl_multi_poll(multi_, nullptr, 0, limit, nullptr);
    }

    /// Ends the current `wait`, or else the next one. Safe from any thread.
    bool wake() { return curl_multi_wakeup(multi_) == CURLM_OK; }

private:
    using Clock = CurlTransfer::Clock;

    void end(CURL* easy, CURLcode code, const Ended& ended) {
        curl_multi_remove_handle(multi_, easy);
        const auto found = transfers_.find(easy);
        if (found->second->preparesNewConnection()) {
            curl_multi_add_handle(multi_, easy);
            return;
        }
        auto transfer = found->second->finish(code);
        transfers_.erase(found);
        ended(std::move(transfer));
    }

    void endOverdue(const Ended& ended) {
        const auto now = Clock::now();
        if (now < nextLook_) {
            return;
        }
        auto shortestLimit = std::chrono::milliseconds(std::chrono::seconds(10));
        std::vector<CURL*> overdue;
        for (const auto& [easy, transfer] : transfers_) {
            shortestLimit = std::min(shortestLimit, transfer->idleLimit());
            if (transfer->mustEnd(now)) {
                overdue.push_back(easy);
            }
        }
        nextLook_ = now + shortestLimit / looksPerIdleLimit;
        for (CURL* const easy : overdue) {
            end(easy, CURLE_OPERATION_TIMEDOUT, ended);
        }
    }

    ConnectionTable connections_;
    CURLM* multi_;
    std::map<CURL*, std::unique_ptr<CurlTransfer>> transfers_;
    Clock::time_point nextLook_;
};

CurlEngine::CurlEngine() {
    curl_global_init(CURL_GLOBAL_DEFAULT);
    loop_ = std::make_shared<Loop>();
}

CurlEngine::~CurlEngine() = default;

bool CurlEngine::submit(const std::shared_ptr<HttpTransfer>& transfer,
                        std::shared_ptr<const TestServer> server) {
    std::shared_ptr<Loop> loop;
    {
        const std::scoped_lock lock(mutex_);
        if (isStopping_) {
            return true;
        }
        submitted_.emplace_back(transfer, std::move(server));
        loop = loop_;
    }
    // Not under the lock, which the thread that wakes up wants at once.
    if (loop->wake()) {
        return true;
    }
    const std::scoped_lock lock(mutex_);
    // Zero if `run` has taken it all the same.
    return std::erase_if(submitted_, [&](const auto& one) { return one.first == transfer; }) == 0;
}

void CurlEngine::stop() {
    const std::scoped_lock lock(mutex_);
    if (!std::exchange(isStopping_, true)) {
        loop_->wake();
    }
}

CurlEngine::Submitted CurlEngine::takeSubmitted() {
    const std::scoped_lock lock(mutex_);
    return std::exchange(submitted_, {});
}

bool CurlEngine::hasNews() {
    const std::scoped_lock lock(mutex_);
    return isStopping_ || !submitted_.empty();
}

void CurlEngine::run(const Ended& ended) {
    while (true) {
        for (auto& [transfer, server] : takeSubmitted()) {
            loop_->begin(std::move(transfer), std::move(server), ended);
        }
        loop_->advance(ended);
        // From libcurl 8.21 on, curl_multi_perform takes away a wake-up that came before it.
        if (!hasNews()) {
            loop_->wait();
        }
        const std::scoped_lock lock(mutex_);
        if (isStopping_) {
            break;
        }
    }
    const std::scoped_lock lock(mutex_);
    loop_.reset();
}

} // namespace cirrus
