#include "Cirrus/platform/http/CurlEngine.h"

#include <algorithm>
#include <limits>
#include <system_error>

namespace cirrus {

namespace {

/// libcurl's own limit falls with the number of requests in flight, so that it would close the
/// connections of jobs that are between two requests.
constexpr long mostKeptConnections = 1024;

/// How often within the idle limit the byte counts are looked at: often enough to find out within
/// about a hundredth of the limit.
constexpr int looksPerIdleLimit = 80;

CURLM* makeMulti() {
    curl_global_init(CURL_GLOBAL_DEFAULT);
    CURLM* const multi = curl_multi_init();
    // Without a descriptor for it, libcurl makes a handle that nobody can wake.
    if (curl_multi_wakeup(multi) != CURLM_OK) {
        curl_multi_cleanup(multi);
        throw std::system_error(std::make_error_code(std::errc::too_many_files_open));
    }
    curl_multi_setopt(multi, CURLMOPT_MAXCONNECTS, mostKeptConnections);
    return multi;
}

} // namespace

CurlEngine::CurlEngine(Ended ended) : ended_(std::move(ended)), multi_(makeMulti()) {}

void CurlEngine::submit(const std::shared_ptr<HttpTransfer>& transfer) {
    {
        const std::scoped_lock lock(mutex_);
        submitted_.push_back(transfer);
    }
    // Not under the lock, which the thread that wakes up wants at once.
    if (curl_multi_wakeup(multi_) == CURLM_OK) {
        return;
    }
    const std::scoped_lock lock(mutex_);
    if (std::erase(submitted_, transfer) != 0) { // else `run` has taken it all the same
        throw std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again));
    }
}

void CurlEngine::stop() {
    {
        const std::scoped_lock lock(mutex_);
        isStopping_ = true;
    }
    curl_multi_wakeup(multi_);
}

void CurlEngine::run() {
    while (auto submitted = takeSubmitted()) {
        for (auto& transfer : *submitted) {
            begin(std::move(transfer));
        }
        advance();
        wait();
    }
    for (const auto& [easy, transfer] : transfers_) {
        curl_multi_remove_handle(multi_, easy);
    }
    transfers_.clear();
}

/// Nullopt once it has to stop.
std::optional<CurlEngine::Transfers> CurlEngine::takeSubmitted() {
    const std::scoped_lock lock(mutex_);
    return isStopping_ ? std::nullopt : std::optional(std::exchange(submitted_, {}));
}

void CurlEngine::begin(std::shared_ptr<HttpTransfer> transfer) {
    if (auto reason = reasonNotToSend(transfer->request)) {
        transfer->outcome.error = TransportError{.text = *std::move(reason)};
        ended_(std::move(transfer));
        return;
    }
    auto started = std::make_unique<CurlTransfer>(std::move(transfer), connections_);
    CURL* const easy = started->easy();
    transfers_.emplace(easy, std::move(started));
    if (curl_multi_add_handle(multi_, easy) != CURLM_OK) {
        end(easy, CURLE_OUT_OF_MEMORY);
    }
}

/// Moves all transfers on as far as they can go without waiting.
void CurlEngine::advance() {
    int count = 0;
    curl_multi_perform(multi_, &count);
    while (const CURLMsg* message = curl_multi_info_read(multi_, &count)) {
        if (message->msg == CURLMSG_DONE) {
            // NOLINTNEXTLINE(cppcoreguidelines-pro-type-union-access): libcurl's interface
            end(message->easy_handle, message->data.result);
        }
    }
    endOverdue();
}

void CurlEngine::endOverdue() {
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
        end(easy, CURLE_OPERATION_TIMEDOUT);
    }
}

void CurlEngine::end(CURL* easy, CURLcode code) {
    curl_multi_remove_handle(multi_, easy);
    const auto found = transfers_.find(easy);
    if (found->second->preparesNewConnection()) {
        curl_multi_add_handle(multi_, easy);
        return;
    }
    auto transfer = found->second->finish(code);
    transfers_.erase(found);
    ended_(std::move(transfer));
}

/// Waits until a transfer can go on, the next look at idle ones is due, or somebody calls.
void CurlEngine::wait() {
    {
        // From libcurl 8.21 on, curl_multi_perform takes away a wake-up that came before it.
        const std::scoped_lock lock(mutex_);
        if (isStopping_ || !submitted_.empty()) {
            return;
        }
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(nextLook_ - Clock::now());
    const auto limit = transfers_.empty() ? std::numeric_limits<int>::max()
                                          : std::max(0, static_cast<int>(left.count()));
    curl_multi_poll(multi_, nullptr, 0, limit, nullptr);
}

} // namespace cirrus
