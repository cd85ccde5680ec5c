#include "Cirrus/platform/CurlEngine.h"

#include <curl/curl.h>

#include <algorithm>
#include <array>
#include <limits>
#include <unordered_map>
#include <utility>
#include <vector>

#include "Cirrus/platform/IdleWatch.h"
#include "Cirrus/platform/OpenSockets.h"
#include "Cirrus/platform/Poller.h"
#include "Cirrus/platform/TransportError.h"

namespace cirrus {

namespace {

using Clock = IdleWatch::Clock;

/// Uploads over HTTP/2 stall or crawl in the libcurl versions that distributions carry, and a job
/// has one request in flight at a time.
constexpr long httpVersion = CURL_HTTP_VERSION_1_1;

/// Longest answer that is taken; a tree of JSON needs many times the memory of its text.
constexpr std::size_t longestAnswer = std::size_t{8} * 1024 * 1024;

/// Longest idleness in which a kept connection is used again. Servers close theirs after longer.
constexpr long longestReuse = 15;

/// libcurl's own limit falls with the number of requests on their way, so that it would close the
/// connections of jobs that are between two requests.
constexpr long mostKeptConnections = 1024;

/// The most handles that are kept for exchanges to come; each holds about 20 KiB.
constexpr std::size_t mostSpareHandles = 16;

/// What libcurl takes over from a body at a time. Less costs time, more makes the progress coarse.
std::size_t pieceOf(std::size_t bodySize) {
    constexpr std::size_t KiB = 1024;
    constexpr std::size_t piecesOfLargeBody = 32;
    const auto largest = std::clamp(bodySize / piecesOfLargeBody, 128 * KiB, 256 * KiB);
    return std::clamp(bodySize, 16 * KiB, largest);
}

/// The part of the idle limit after which movement is looked at again.
constexpr int looksPerLimit = 80;

AnyError transportError(CURLcode code, std::string text) {
    using enum ConnectionError::Reason;
    constexpr std::array<std::pair<CURLcode, ConnectionError::Reason>, 6> actionable{{
        {CURLE_COULDNT_RESOLVE_PROXY, noConnection},
        {CURLE_COULDNT_RESOLVE_HOST, noConnection},
        {CURLE_COULDNT_CONNECT, noConnection},
        {CURLE_OPERATION_TIMEDOUT, timedOut},
        {CURLE_PEER_FAILED_VERIFICATION, untrustedCertificate},
        {CURLE_SSL_ISSUER_ERROR, untrustedCertificate},
    }};
    const auto* found =
        std::ranges::find(actionable, code, &std::pair<CURLcode, ConnectionError::Reason>::first);
    if (found != actionable.end()) {
        return AnyError(
            ConnectionError{.reason = found->second, .code = code, .text = std::move(text)});
    }
    return AnyError(TransportError{.code = code, .text = std::move(text)});
}

/// libcurl leaves the line's end in an empty value.
std::string_view withoutTrailingBlanks(std::string_view text) {
    return text.substr(0, text.find_last_not_of(" \t\r\n") + 1);
}

/// libcurl's easy handle, with the options that are the same for all exchanges with a peer. An
/// exchange sets all others, so that one may follow another on it.
class Handle {
public:
    Handle(Peer peer, OpenSockets& sockets) : peer_(std::move(peer)), easy_(curl_easy_init()) {
        set(CURLOPT_NOSIGNAL, 1L);
        set(CURLOPT_PROTOCOLS_STR, "https");
        set(CURLOPT_HTTP_VERSION, httpVersion);
        set(CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
        // Nothing of one exchange shall reach the next but the connection.
        set(CURLOPT_SSL_SESSIONID_CACHE, 0L);
        set(CURLOPT_MAXAGE_CONN, longestReuse);
        // The idle limit counts here as everywhere, and libcurl's own limits would cut it short.
        set(CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(std::numeric_limits<int>::max()));
        set(CURLOPT_QUICK_EXIT, 1L);
        set(CURLOPT_PATH_AS_IS, 1L);
        set(CURLOPT_FOLLOWLOCATION, 0L);
        set(CURLOPT_NOPROGRESS, 0L);
        // Called also after an exchange, by a connection that was kept.
        set(CURLOPT_CLOSESOCKETFUNCTION, &Handle::closeSocket);
        set(CURLOPT_CLOSESOCKETDATA, &sockets);
        if (peer_) {
            connectTo(*peer_);
        }
    }

    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    ~Handle() {
        curl_easy_cleanup(easy_);
        curl_slist_free_all(connectTo_);
    }

    [[nodiscard]] CURL* easy() const { return easy_; }

    [[nodiscard]] const Peer& peer() const { return peer_; }

    template <class Value>
    void set(CURLoption option, Value value) {
        curl_easy_setopt(easy_, option, value);
    }

private:
    void connectTo(const LoopbackPeer& peer) {
        connectTo_ =
            curl_slist_append(nullptr, ("::127.0.0.1:" + std::to_string(peer.port)).c_str());
        // libcurl has no const here, but copies.
        std::string authority = peer.certificateAuthority;
        curl_blob blob{.data = authority.data(), .len = authority.size(), .flags = CURL_BLOB_COPY};
        set(CURLOPT_CONNECT_TO, connectTo_);
        set(CURLOPT_CAINFO_BLOB, &blob);
        set(CURLOPT_CAPATH, nullptr);
        set(CURLOPT_PROXY, "");
    }

    static int closeSocket(void* sockets, curl_socket_t socket) noexcept {
        static_cast<OpenSockets*>(sockets)->close(socket);
        return 0;
    }

    Peer peer_;
    CURL* easy_;
    curl_slist* connectTo_ = nullptr;
};

/// One transfer in libcurl's hands.
class Exchange {
public:
    Exchange(std::unique_ptr<Transfer> transfer, std::unique_ptr<Handle> handle,
             OpenSockets& sockets)
        : transfer_(std::move(transfer)),
          handle_(std::move(handle)),
          sockets_(sockets),
          idleWatch_(idleLimit(*handle_, transfer_->request)) {
        setRequest();
        setCallbacks();
    }

    Exchange(const Exchange&) = delete;
    Exchange& operator=(const Exchange&) = delete;

    ~Exchange() { curl_slist_free_all(headers_); }

    [[nodiscard]] CURL* easy() const { return handle_->easy(); }

    IdleWatch& idleWatch() { return idleWatch_; }

    /// Bytes sent and received as libcurl counts them.
    [[nodiscard]] std::uint64_t byteCount() const {
        return static_cast<std::uint64_t>(get<curl_off_t>(CURLINFO_SIZE_UPLOAD_T) +
                                          get<curl_off_t>(CURLINFO_SIZE_DOWNLOAD_T));
    }

    /// Prepares the exchange to be begun again on a new connection; false when it has to end.
    [[nodiscard]] bool beginsAnew() {
        if (!isConnectionStale_) {
            return false;
        }
        isConnectionStale_ = false;
        set(CURLOPT_FRESH_CONNECT, 1L);
        return true;
    }

    [[nodiscard]] TaskOutcome outcome(CURLcode code) const {
        if (!refusal_.empty()) {
            return {.body = {},
                    .response = {},
                    .error = AnyError(TransportError{.code = code, .text = refusal_})};
        }
        if (code != CURLE_OK) {
            return {.body = {}, .response = {}, .error = transportError(code, errorText(code))};
        }
        constexpr int noContent = 204;
        auto response = receivedResponse();
        auto body = response.statusCode == noContent ? std::nullopt : std::optional(body_);
        return {.body = std::move(body), .response = std::move(response), .error = {}};
    }

    [[nodiscard]] std::unique_ptr<Transfer> takeTransfer() { return std::move(transfer_); }

    /// The handle for another exchange; at the end of this one.
    [[nodiscard]] std::unique_ptr<Handle> takeHandle() {
        set(CURLOPT_HTTPHEADER, nullptr);
        set(CURLOPT_ERRORBUFFER, nullptr);
        return std::move(handle_);
    }

private:
    static std::chrono::milliseconds idleLimit(const Handle& handle, const UrlRequest& request) {
        const auto& peer = handle.peer();
        return peer ? peer->idleLimit.value_or(request.timeout) : request.timeout;
    }

    void setRequest() {
        const auto& request = transfer_->request;
        set(CURLOPT_URL, request.url.text().c_str());
        set(CURLOPT_FRESH_CONNECT, 0L);
        if (request.method == "POST") {
            set(CURLOPT_CUSTOMREQUEST, nullptr);
            // The bytes stay ours: libcurl reads them piece by piece.
            const auto bytes = request.body.characters();
            set(CURLOPT_POSTFIELDS, bytes.empty() ? "" : bytes.data());
            set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(bytes.size()));
            set(CURLOPT_UPLOAD_BUFFERSIZE, static_cast<long>(pieceOf(bytes.size())));
        } else {
            set(CURLOPT_HTTPGET, 1L);
            set(CURLOPT_CUSTOMREQUEST, request.method.c_str());
        }
        setHeaders(request.headers);
    }

    void setHeaders(const HeaderFields& fields) {
        for (const auto& [name, value] : fields) {
            // libcurl would believe a length given here; the body's own frames the message.
            if (!HeaderFields::key_compare::areEqual(name, "Content-Length")) {
                addHeader(std::string(name).append(value.empty() ? ";" : ": ").append(value));
            }
        }
        addHeader("Expect:");
        if (!fields.contains("Content-Type")) {
            addHeader("Content-Type:");
        }
        set(CURLOPT_HTTPHEADER, headers_);
    }

    void addHeader(const std::string& line) {
        headers_ = curl_slist_append(headers_, line.c_str());
    }

    void setCallbacks() {
        set(CURLOPT_OPENSOCKETFUNCTION, &Exchange::openSocket);
        set(CURLOPT_OPENSOCKETDATA, this);
        set(CURLOPT_ERRORBUFFER, errorText_.data());
        set(CURLOPT_WRITEFUNCTION, &Exchange::receive);
        set(CURLOPT_WRITEDATA, this);
        set(CURLOPT_XFERINFOFUNCTION, &Exchange::advance);
        set(CURLOPT_XFERINFODATA, this);
        set(CURLOPT_PREREQFUNCTION, &Exchange::beginRequest);
        set(CURLOPT_PREREQDATA, this);
    }

    template <class Value>
    void set(CURLoption option, Value value) {
        handle_->set(option, value);
    }

    template <class Value>
    [[nodiscard]] Value get(CURLINFO info) const {
        Value value{};
        curl_easy_getinfo(easy(), info, &value);
        return value;
    }

    [[nodiscard]] std::string errorText(CURLcode code) const {
        if (code == CURLE_OPERATION_TIMEDOUT) {
            return "Nothing moved for " + std::to_string(idleWatch_.limit().count()) + " ms";
        }
        return errorText_.front() != '\0' ? errorText_.data() : curl_easy_strerror(code);
    }

    [[nodiscard]] HttpResponse receivedResponse() const {
        HttpResponse response{.statusCode = static_cast<int>(get<long>(CURLINFO_RESPONSE_CODE)),
                              .headers = {}};
        constexpr int lastAnswer = -1;
        curl_header* header = nullptr;
        while ((header = curl_easy_nextheader(easy(), CURLH_HEADER, lastAnswer, header)) !=
               nullptr) {
            const std::string_view value = withoutTrailingBlanks(header->value);
            auto [field, isNew] = response.headers.try_emplace(header->name, value);
            if (!isNew) {
                field->second.append(", ").append(value);
            }
        }
        return response;
    }

    static curl_socket_t openSocket(void* self, curlsocktype, curl_sockaddr* address) noexcept {
        auto& exchange = *static_cast<Exchange*>(self);
        if (exchange.refusesSecondRequest()) {
            return CURL_SOCKET_BAD;
        }
        return exchange.sockets_.open(address->family, address->socktype, address->protocol);
    }

    static std::size_t receive(const char* bytes, std::size_t, std::size_t count, void* self) {
        auto& exchange = *static_cast<Exchange*>(self);
        if (count > longestAnswer - exchange.body_.size()) {
            exchange.refusal_ = "The answer is longer than 8 MiB";
            return CURL_WRITEFUNC_ERROR;
        }
        exchange.body_.append(bytes, count);
        return count;
    }

    static int advance(void* self, curl_off_t, curl_off_t, curl_off_t, curl_off_t sent) {
        auto& exchange = *static_cast<Exchange*>(self);
        if (std::exchange(exchange.sent_, sent) != sent) {
            exchange.transfer_->progress->setCompletedUnitCount(static_cast<std::uint64_t>(sent));
        }
        return 0;
    }

    static int beginRequest(void* self, char*, char*, int, int localPort) noexcept {
        auto& exchange = *static_cast<Exchange*>(self);
        if (exchange.refusesSecondRequest()) {
            return CURL_PREREQFUNC_ABORT;
        }
        exchange.isConnectionStale_ = exchange.isStale(localPort);
        exchange.hasBegun_ = !exchange.isConnectionStale_;
        return exchange.hasBegun_ ? CURL_PREREQFUNC_OK : CURL_PREREQFUNC_ABORT;
    }

    /// libcurl begins a request anew when a kept connection turns out to be dead. What the server
    /// has already done with it is not known then, so it must not be sent again.
    [[nodiscard]] bool refusesSecondRequest() {
        if (hasBegun_) {
            refusal_ = "The connection was lost before the answer";
        }
        return hasBegun_;
    }

    /// Whether something has come on a kept connection before anything was asked: the end of TLS,
    /// or bytes that would pass for the answer. libcurl notices only the end of TCP.
    [[nodiscard]] bool isStale(int localPort) const {
        return get<long>(CURLINFO_NUM_CONNECTS) == 0 && sockets_.hasInput(localPort);
    }

    std::unique_ptr<Transfer> transfer_;
    std::unique_ptr<Handle> handle_;
    OpenSockets& sockets_;
    IdleWatch idleWatch_;
    curl_slist* headers_ = nullptr;
    std::array<char, CURL_ERROR_SIZE> errorText_{};
    std::string refusal_;
    std::string body_;
    curl_off_t sent_ = 0;
    bool hasBegun_ = false;
    bool isConnectionStale_ = false;
};

} // namespace

/// The loop of the network thread.
class CurlEngine::Loop {
public:
    Loop(Poller& poller, Inbox& inbox, const Finished& finished)
        : poller_(poller), inbox_(inbox), finished_(finished) {}

    void run() {
        multi_ = curl_multi_init();
        set(CURLMOPT_SOCKETFUNCTION, &Loop::socketChanged);
        set(CURLMOPT_SOCKETDATA, this);
        set(CURLMOPT_TIMERFUNCTION, &Loop::timerChanged);
        set(CURLMOPT_TIMERDATA, this);
        set(CURLMOPT_MAXCONNECTS, mostKeptConnections);
        while (beginSubmitted()) {
            poller_.wait(timeUntilNextLook(), [this](const Poller::Event& event) {
                act(event.socket, (event.canRead ? CURL_CSELECT_IN : 0) |
                                      (event.canWrite ? CURL_CSELECT_OUT : 0) |
                                      (event.hasFailed ? CURL_CSELECT_ERR : 0));
            });
            inbox_.ownerIsAwake();
            actOnTimer();
            collectFinished();
            endIdle();
        }
        for (const auto& [easy, exchange] : exchanges_) {
            curl_multi_remove_handle(multi_, easy);
        }
        exchanges_.clear();
        spare_.clear();
        curl_multi_cleanup(multi_);
    }

private:
    template <class Value>
    void set(CURLMoption option, Value value) {
        curl_multi_setopt(multi_, option, value);
    }

    void act(curl_socket_t socket, int events) {
        int running = 0;
        curl_multi_socket_action(multi_, socket, events, &running);
    }

    void actOnTimer() {
        if (timer_ && *timer_ <= Clock::now()) {
            timer_.reset();
            act(CURL_SOCKET_TIMEOUT, 0);
        }
    }

    /// Begins all that was submitted; false once the engine is to stop.
    bool beginSubmitted() {
        for (auto submitted = inbox_.take(); submitted; submitted = inbox_.take()) {
            if (submitted->empty()) {
                return true;
            }
            for (auto& [transfer, peer] : *submitted) {
                begin(std::move(transfer), peer);
            }
            // libcurl's first step with a new transfer is due at once. It may bring the answer.
            actOnTimer();
            collectFinished();
        }
        return false;
    }

    void begin(std::unique_ptr<Transfer> transfer, const Peer& peer) {
        auto exchange = std::make_unique<Exchange>(std::move(transfer), handleFor(peer), sockets_);
        CURL* easy = exchange->easy();
        exchanges_.emplace(easy, std::move(exchange));
        curl_multi_add_handle(multi_, easy);
    }

    std::unique_ptr<Handle> handleFor(const Peer& peer) {
        if (spare_.empty() || spare_.back()->peer() != peer) {
            spare_.clear();
            return std::make_unique<Handle>(peer, sockets_);
        }
        auto handle = std::move(spare_.back());
        spare_.pop_back();
        return handle;
    }

    void collectFinished() {
        int left = 0;
        while (const CURLMsg* message = curl_multi_info_read(multi_, &left)) {
            if (message->msg == CURLMSG_DONE) {
                // NOLINTNEXTLINE(cppcoreguidelines-pro-type-union-access): libcurl's interface
                end(message->easy_handle, message->data.result);
            }
        }
    }

    void end(CURL* easy, CURLcode code) {
        curl_multi_remove_handle(multi_, easy);
        if (exchanges_.at(easy)->beginsAnew()) {
            curl_multi_add_handle(multi_, easy);
            return;
        }
        auto found = exchanges_.extract(easy);
        const auto& exchange = found.mapped();
        auto outcome = exchange->outcome(code);
        // Not after a failure: what that leaves behind in libcurl is nothing to build on.
        if (code == CURLE_OK && spare_.size() < mostSpareHandles) {
            spare_.push_back(exchange->takeHandle());
        }
        finished_(exchange->takeTransfer(), std::move(outcome));
    }

    /// When to look at timers and movement next; nothing when there is neither.
    [[nodiscard]] std::optional<std::chrono::milliseconds> timeUntilNextLook() const {
        std::optional<Clock::time_point> next = timer_;
        if (!exchanges_.empty()) {
            next = std::min(next.value_or(nextLook_), nextLook_);
        }
        if (!next) {
            return std::nullopt;
        }
        return std::chrono::ceil<std::chrono::milliseconds>(*next - Clock::now());
    }

    void endIdle() {
        const auto now = Clock::now();
        if (now < nextLook_) {
            return;
        }
        auto shortestLimit = std::chrono::milliseconds(std::chrono::seconds(10));
        std::vector<CURL*> idle;
        for (const auto& [easy, exchange] : exchanges_) {
            auto& watch = exchange->idleWatch();
            shortestLimit = std::min(shortestLimit, watch.limit());
            if (watch.hasIdledOut(now, exchange->byteCount())) {
                idle.push_back(easy);
            }
        }
        nextLook_ = now + shortestLimit / looksPerLimit;
        for (CURL* easy : idle) {
            end(easy, CURLE_OPERATION_TIMEDOUT);
        }
    }

    static int socketChanged(CURL* easy, curl_socket_t socket, int what, void* self, void*) {
        auto& loop = *static_cast<Loop*>(self);
        loop.sockets_.watch(socket, interestOf(what));
        const auto found = loop.exchanges_.find(easy);
        if (found != loop.exchanges_.end()) {
            auto& watch = found->second->idleWatch();
            what == CURL_POLL_REMOVE ? watch.remove(socket) : watch.add(socket);
        }
        return 0;
    }

    static Poller::Interest interestOf(int what) {
        switch (what) {
        case CURL_POLL_IN:
            return Poller::Interest::read;
        case CURL_POLL_OUT:
            return Poller::Interest::write;
        case CURL_POLL_INOUT:
            return Poller::Interest::readAndWrite;
        default:
            return Poller::Interest::none;
        }
    }

    static int timerChanged(CURLM*, long milliseconds, void* self) {
        auto& timer = static_cast<Loop*>(self)->timer_;
        if (milliseconds < 0) {
            timer.reset();
        } else {
            timer = Clock::now() + std::chrono::milliseconds(milliseconds);
        }
        return 0;
    }

    Poller& poller_;
    Inbox& inbox_;
    const Finished& finished_;
    OpenSockets sockets_{poller_};
    CURLM* multi_ = nullptr;
    std::optional<Clock::time_point> timer_;
    Clock::time_point nextLook_;
    std::unordered_map<CURL*, std::unique_ptr<Exchange>> exchanges_;
    std::vector<std::unique_ptr<Handle>> spare_;
};

CurlEngine::CurlEngine(Finished finished) : finished_(std::move(finished)) {
    curl_global_init(CURL_GLOBAL_DEFAULT);
}

void CurlEngine::run() {
    Loop(poller_, inbox_, finished_).run();
}

} // namespace cirrus
