#include "Cirrus/platform/CurlEngine.h"

#include <curl/curl.h>

#include <algorithm>
#include <array>
#include <limits>
#include <utility>
#include <vector>

#include "Cirrus/platform/BodyPieces.h"
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

/// Seconds for which the address of a name is used again for new connections.
constexpr long longestNameReuse = 60;

/// libcurl's own limit falls with the number of requests on their way, so that it would close the
/// connections of jobs that are between two requests.
constexpr long mostKeptConnections = 1024;

/// The most exchanges that are kept for transfers to come; each holds about 20 KiB.
constexpr std::size_t mostSpareExchanges = 16;

/// Bodies up to this, as nearly all requests have them, go to libcurl whole: it sends them together
/// with the header.
constexpr std::size_t longestWholeBody = std::size_t{64} * 1024;

/// Makes libcurl's upload buffer end within a page. TLS copies out of it into memory that often
/// comes right behind it; were that at nearly the same place in its page, the processor would copy
/// at half the speed or less.
constexpr std::size_t spareRoom = 2048;

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

/// Header lines as libcurl wants them. It keeps no more than the pointer to the list.
class HeaderLines {
public:
    /// Keeps the memory, but not what was in it: a token, for one.
    void clear() {
        std::ranges::for_each(lines_, [](auto& line) { std::ranges::fill(line, '\0'); });
        count_ = 0;
    }

    void add(std::string_view name, std::string_view value) {
        line().append(name).append(value.empty() ? ";" : ": ").append(value);
    }

    /// Keeps libcurl from adding a field of its own.
    void leaveOut(std::string_view name) { line().append(name).append(":"); }

    /// Valid until the lines change.
    [[nodiscard]] curl_slist* list() {
        nodes_.resize(count_);
        for (std::size_t index = 0; index < count_; ++index) {
            nodes_[index] = {.data = lines_[index].data(),
                             .next = index + 1 < count_ ? &nodes_[index + 1] : nullptr};
        }
        return nodes_.data();
    }

private:
    /// The next line, empty; its memory is that of an earlier one.
    std::string& line() {
        if (count_ == lines_.size()) {
            lines_.emplace_back();
        }
        auto& line = lines_[count_++];
        line.clear();
        return line;
    }

    std::vector<std::string> lines_;
    std::vector<curl_slist> nodes_;
    std::size_t count_ = 0;
};

/// libcurl's easy handle, for one transfer after another with the same peer.
class Exchange {
public:
    /// Puts itself into `advanced` when its progress is to be told.
    Exchange(Peer peer, OpenSockets& sockets, std::vector<const Exchange*>& advanced)
        : peer_(std::move(peer)), sockets_(sockets), advanced_(advanced), easy_(curl_easy_init()) {
        setLastingOptions();
        setCallbacks();
        if (peer_) {
            connectTo(*peer_);
        }
    }

    Exchange(const Exchange&) = delete;
    Exchange& operator=(const Exchange&) = delete;

    ~Exchange() {
        curl_easy_cleanup(easy_);
        curl_slist_free_all(connectTo_);
    }

    /// The exchange of a handle; null for libcurl's own handles.
    [[nodiscard]] static Exchange* of(CURL* easy) {
        char* exchange = nullptr;
        curl_easy_getinfo(easy, CURLINFO_PRIVATE, &exchange);
        return reinterpret_cast<Exchange*>(exchange);
    }

    [[nodiscard]] CURL* easy() const { return easy_; }

    [[nodiscard]] const Peer& peer() const { return peer_; }

    IdleWatch& idleWatch() { return idleWatch_; }

    /// Makes the handle ready for a transfer.
    void prepare(std::unique_ptr<Transfer> transfer, Clock::time_point now) {
        transfer_ = std::move(transfer);
        idleWatch_.restart(idleLimit(), now);
        errorText_.front() = '\0';
        sent_ = 0;
        hasBegun_ = false;
        setRequest();
    }

    /// Bytes sent and received as libcurl counts them.
    [[nodiscard]] std::uint64_t byteCount() const {
        return static_cast<std::uint64_t>(get<curl_off_t>(CURLINFO_SIZE_UPLOAD_T) +
                                          get<curl_off_t>(CURLINFO_SIZE_DOWNLOAD_T));
    }

    /// Tells the transfer's progress how much has been sent.
    void tellProgress() const {
        transfer_->progress->setCompletedUnitCount(static_cast<std::uint64_t>(sent_));
    }

    /// Prepares the exchange to be begun again on a new connection; false when it has to end.
    [[nodiscard]] bool beginsAnew() {
        if (!isConnectionStale_) {
            return false;
        }
        isConnectionStale_ = false;
        prepareToConnect(true);
        return true;
    }

    /// Ends the exchange. After success it is ready for another transfer.
    [[nodiscard]] std::unique_ptr<Transfer> end(CURLcode code) {
        setOutcome(code, transfer_->outcome);
        headerLines_.clear();
        return std::move(transfer_);
    }

    /// Where the exchange is in the list of those that are on their way.
    std::size_t place = 0;

private:
    void setLastingOptions() {
        set(CURLOPT_PRIVATE, this);
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
        set(CURLOPT_ERRORBUFFER, errorText_.data());
    }

    void setCallbacks() {
        set(CURLOPT_OPENSOCKETFUNCTION, &Exchange::openSocket);
        set(CURLOPT_OPENSOCKETDATA, this);
        // Called also after an exchange, by a connection that was kept.
        set(CURLOPT_CLOSESOCKETFUNCTION, &Exchange::closeSocket);
        set(CURLOPT_CLOSESOCKETDATA, &sockets_);
        set(CURLOPT_HEADERFUNCTION, &Exchange::receiveHeader);
        set(CURLOPT_HEADERDATA, this);
        set(CURLOPT_WRITEFUNCTION, &Exchange::receive);
        set(CURLOPT_WRITEDATA, this);
        set(CURLOPT_READFUNCTION, &Exchange::send);
        set(CURLOPT_READDATA, this);
        set(CURLOPT_XFERINFOFUNCTION, &Exchange::advance);
        set(CURLOPT_XFERINFODATA, this);
        set(CURLOPT_PREREQFUNCTION, &Exchange::beginRequest);
        set(CURLOPT_PREREQDATA, this);
    }

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

    [[nodiscard]] std::chrono::milliseconds idleLimit() const {
        const auto timeout = transfer_->request.timeout;
        return peer_ ? peer_->idleLimit.value_or(timeout) : timeout;
    }

    void setRequest() {
        const auto& request = transfer_->request;
        set(CURLOPT_URL, request.url.text().c_str());
        prepareToConnect(false);
        if (request.method == "POST") {
            set(CURLOPT_POST, 1L);
            set(CURLOPT_CUSTOMREQUEST, nullptr);
            setBody(request.body.characters());
        } else {
            set(CURLOPT_HTTPGET, 1L);
            set(CURLOPT_CUSTOMREQUEST, request.method.c_str());
        }
        setHeaders(request.headers);
    }

    void prepareToConnect(bool isNewConnectionNeeded) {
        set(CURLOPT_FRESH_CONNECT, isNewConnectionNeeded ? 1L : 0L);
        set(CURLOPT_DNS_CACHE_TIMEOUT, longestNameReuse);
    }

    /// The bytes stay ours: libcurl reads them, at once or piece by piece.
    void setBody(std::string_view bytes) {
        const bool isWhole = bytes.size() <= longestWholeBody;
        const char* whole = bytes.empty() ? "" : bytes.data();
        set(CURLOPT_POSTFIELDS, isWhole ? whole : nullptr);
        set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(bytes.size()));
        pieces_.restart(isWhole ? std::string_view() : bytes);
        const auto room =
            std::clamp(bytes.size(), BodyPieces::smallest, BodyPieces::largestPortion);
        set(CURLOPT_UPLOAD_BUFFERSIZE, static_cast<long>(room + spareRoom));
    }

    void setHeaders(const HeaderFields& fields) {
        for (const auto& [name, value] : fields) {
            // libcurl would believe a length given here; the body's own frames the message.
            if (!HeaderFields::areEqual(name, "Content-Length")) {
                headerLines_.add(name, value);
            }
        }
        headerLines_.leaveOut("Expect");
        if (!fields.contains("Content-Type")) {
            headerLines_.leaveOut("Content-Type");
        }
        set(CURLOPT_HTTPHEADER, headerLines_.list());
    }

    void setOutcome(CURLcode code, TaskOutcome& outcome) {
        if (!refusal_.empty()) {
            outcome.error = AnyError(TransportError{.code = code, .text = refusal_});
        } else if (code != CURLE_OK) {
            outcome.error = transportError(code, errorText(code));
        } else {
            constexpr int noContent = 204;
            const auto status = static_cast<int>(get<long>(CURLINFO_RESPONSE_CODE));
            auto body = std::exchange(body_, {});
            if (status != noContent) {
                outcome.body = std::move(body);
            }
            outcome.response = {.statusCode = status, .headers = head_.takeFields()};
        }
    }

    template <class Value>
    void set(CURLoption option, Value value) {
        curl_easy_setopt(easy_, option, value);
    }

    template <class Value>
    [[nodiscard]] Value get(CURLINFO info) const {
        Value value{};
        curl_easy_getinfo(easy_, info, &value);
        return value;
    }

    [[nodiscard]] std::string errorText(CURLcode code) const {
        if (code == CURLE_OPERATION_TIMEDOUT) {
            return "Nothing moved for " + std::to_string(idleWatch_.limit().count()) + " ms";
        }
        return errorText_.front() != '\0' ? errorText_.data() : curl_easy_strerror(code);
    }

    static curl_socket_t openSocket(void* self, curlsocktype, curl_sockaddr* address) noexcept {
        auto& exchange = *static_cast<Exchange*>(self);
        if (exchange.refusesSecondRequest()) {
            return CURL_SOCKET_BAD;
        }
        return exchange.sockets_.open(address->family, address->socktype, address->protocol);
    }

    static int closeSocket(void* sockets, curl_socket_t socket) noexcept {
        static_cast<OpenSockets*>(sockets)->close(socket);
        return 0;
    }

    static std::size_t receiveHeader(const char* bytes, std::size_t, std::size_t count,
                                     void* self) {
        static_cast<Exchange*>(self)->head_.take({bytes, count});
        return count;
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

    static std::size_t send(char* to, std::size_t, std::size_t room, void* self) {
        const auto piece = static_cast<Exchange*>(self)->pieces_.next(room, Clock::now());
        return piece.copy(to, piece.size());
    }

    static int advance(void* self, curl_off_t, curl_off_t, curl_off_t, curl_off_t sent) {
        auto& exchange = *static_cast<Exchange*>(self);
        if (std::exchange(exchange.sent_, sent) != sent && exchange.transfer_->progress &&
            exchange.pieces_.moves()) {
            exchange.advanced_.push_back(&exchange);
        }
        return 0;
    }

    static int beginRequest(void* self, char*, char*, int, int localPort) noexcept {
        auto& exchange = *static_cast<Exchange*>(self);
        if (exchange.refusesSecondRequest()) {
            return CURL_PREREQFUNC_ABORT;
        }
        // Connected: libcurl need not go through its whole table of names after the request.
        exchange.set(CURLOPT_DNS_CACHE_TIMEOUT, -1L);
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

    Peer peer_;
    OpenSockets& sockets_;
    std::vector<const Exchange*>& advanced_;
    CURL* easy_;
    curl_slist* connectTo_ = nullptr;
    std::array<char, CURL_ERROR_SIZE> errorText_{};
    HeaderLines headerLines_;
    BodyPieces pieces_;
    IdleWatch idleWatch_;

    std::unique_ptr<Transfer> transfer_;
    AnswerHead head_;
    std::string body_;
    std::string refusal_;
    curl_off_t sent_ = 0;
    bool hasBegun_ = false;
    bool isConnectionStale_ = false;
};

} // namespace

/// What the driver does, on one thread at a time.
class CurlEngine::Loop {
public:
    Loop(Poller& poller, Inbox& inbox) : poller_(poller), inbox_(inbox), multi_(curl_multi_init()) {
        set(CURLMOPT_SOCKETFUNCTION, &Loop::socketChanged);
        set(CURLMOPT_SOCKETDATA, this);
        set(CURLMOPT_TIMERFUNCTION, &Loop::timerChanged);
        set(CURLMOPT_TIMERDATA, this);
        set(CURLMOPT_MAXCONNECTS, mostKeptConnections);
    }

    Loop(const Loop&) = delete;
    Loop& operator=(const Loop&) = delete;

    ~Loop() {
        for (const auto& exchange : exchanges_) {
            curl_multi_remove_handle(multi_, exchange->easy());
        }
        advanced_.clear();
        exchanges_.clear();
        spare_.clear();
        curl_multi_cleanup(multi_);
    }

    /// Whether a transfer is on its way, and still shall be.
    [[nodiscard]] bool hasWork() const { return isOpen_ && !exchanges_.empty(); }

    /// Begins what was submitted, waits until something happens, and sees to it. Puts what has
    /// ended into `ended`, which must be empty.
    void step(Transfers& ended) {
        now_ = Clock::now();
        isOpen_ = beginSubmitted();
        if (hasWork() && ended_.empty()) {
            poller_.wait(timeUntilNextLook(), [this](const Poller::Event& event) {
                act(event.socket, (event.canRead ? CURL_CSELECT_IN : 0) |
                                      (event.canWrite ? CURL_CSELECT_OUT : 0) |
                                      (event.hasFailed ? CURL_CSELECT_ERR : 0));
            });
            now_ = Clock::now();
        }
        inbox_.driverIsAwake();
        actOnTimer();
        collectFinished();
        endIdle();
        ended_.swap(ended);
    }

private:
    template <class Value>
    void set(CURLMoption option, Value value) {
        curl_multi_setopt(multi_, option, value);
    }

    void act(curl_socket_t socket, int events) {
        int running = 0;
        curl_multi_socket_action(multi_, socket, events, &running);
        tellProgress();
    }

    /// Not from inside libcurl: whom it wakes may take the processor in the middle of a piece.
    void tellProgress() {
        for (const auto* exchange : advanced_) {
            exchange->tellProgress();
        }
        advanced_.clear();
    }

    void actOnTimer() {
        if (timer_ && *timer_ <= now_) {
            timer_.reset();
            act(CURL_SOCKET_TIMEOUT, 0);
        }
    }

    /// Begins all that was submitted; false once the engine is to stop.
    bool beginSubmitted() {
        while (inbox_.take(submitted_)) {
            if (submitted_.empty()) {
                return true;
            }
            for (auto& [transfer, peer] : submitted_) {
                begin(std::move(transfer), peer);
            }
            submitted_.clear();
            // libcurl's first step with a new transfer is due at once. It may bring the answer.
            actOnTimer();
            collectFinished();
        }
        return false;
    }

    void begin(std::unique_ptr<Transfer> transfer, const Peer& peer) {
        if (auto reason = refusal(transfer->request)) {
            transfer->outcome.error =
                AnyError(TransportError{.code = 0, .text = *std::move(reason)});
            ended_.push_back(std::move(transfer));
            return;
        }
        auto exchange = exchangeWith(peer);
        exchange->prepare(std::move(transfer), now_);
        exchange->place = exchanges_.size();
        CURL* easy = exchange->easy();
        exchanges_.push_back(std::move(exchange));
        curl_multi_add_handle(multi_, easy);
    }

    std::unique_ptr<Exchange> exchangeWith(const Peer& peer) {
        if (spare_.empty() || spare_.back()->peer() != peer) {
            spare_.clear();
            return std::make_unique<Exchange>(peer, sockets_, advanced_);
        }
        auto exchange = std::move(spare_.back());
        spare_.pop_back();
        return exchange;
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
        tellProgress();
        auto& ending = *Exchange::of(easy);
        if (ending.beginsAnew()) {
            curl_multi_add_handle(multi_, easy);
            return;
        }
        auto exchange = takeOut(ending);
        ended_.push_back(exchange->end(code));
        // Not after a failure: what that leaves behind in libcurl is nothing to build on.
        if (code == CURLE_OK && spare_.size() < mostSpareExchanges) {
            spare_.push_back(std::move(exchange));
        }
    }

    std::unique_ptr<Exchange> takeOut(Exchange& exchange) {
        auto& place = exchanges_[exchange.place];
        exchanges_.back()->place = exchange.place;
        std::swap(place, exchanges_.back());
        auto taken = std::move(exchanges_.back());
        exchanges_.pop_back();
        return taken;
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
        return std::chrono::ceil<std::chrono::milliseconds>(*next - now_);
    }

    void endIdle() {
        if (now_ < nextLook_) {
            return;
        }
        auto shortestLimit = std::chrono::milliseconds(std::chrono::seconds(10));
        std::vector<CURL*> idle;
        for (const auto& exchange : exchanges_) {
            auto& watch = exchange->idleWatch();
            shortestLimit = std::min(shortestLimit, watch.limit());
            if (watch.hasIdledOut(now_, exchange->byteCount())) {
                idle.push_back(exchange->easy());
            }
        }
        nextLook_ = now_ + shortestLimit / looksPerLimit;
        for (CURL* easy : idle) {
            end(easy, CURLE_OPERATION_TIMEDOUT);
        }
    }

    static int socketChanged(CURL* easy, curl_socket_t socket, int what, void* self, void*) {
        auto& loop = *static_cast<Loop*>(self);
        loop.sockets_.watch(socket, interestOf(what));
        if (auto* exchange = Exchange::of(easy)) {
            auto& watch = exchange->idleWatch();
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
        auto& loop = *static_cast<Loop*>(self);
        if (milliseconds < 0) {
            loop.timer_.reset();
        } else {
            loop.timer_ = loop.now_ + std::chrono::milliseconds(milliseconds);
        }
        return 0;
    }

    Poller& poller_;
    Inbox& inbox_;
    OpenSockets sockets_{poller_};
    CURLM* multi_;
    /// When the loop last looked. A timer set by it may be early, which does no harm: libcurl then
    /// sets it again.
    Clock::time_point now_;
    std::optional<Clock::time_point> timer_;
    Clock::time_point nextLook_;
    std::vector<const Exchange*> advanced_;
    std::vector<std::unique_ptr<Exchange>> exchanges_;
    std::vector<std::unique_ptr<Exchange>> spare_;
    std::vector<Inbox::Entry> submitted_;
    Transfers ended_;
    bool isOpen_ = true;
};

CurlEngine::CurlEngine() {
    curl_global_init(CURL_GLOBAL_DEFAULT);
    loop_ = std::make_unique<Loop>(poller_, inbox_);
}

CurlEngine::~CurlEngine() = default;

void CurlEngine::run(const std::function<void(std::unique_ptr<Transfer>)>& ended) {
    Transfers transfers;
    auto turn = Turn::isOver;
    while (turn != Turn::wasTheLast && (turn == Turn::goesOn || inbox_.waitForTurn())) {
        turn = step(false, transfers);
        std::ranges::for_each(transfers, [&](auto& transfer) { ended(std::move(transfer)); });
    }
}

void CurlEngine::help(Transfers& ended) {
    ended.clear();
    if (inbox_.takeTurn()) {
        while (step(true, ended) == Turn::goesOn) {
        }
    }
}

/// A step of the driver's turn, which ends with it when nothing is left to do, or when transfers
/// have ended and `endsWithTransfers`: before their outcomes are told, so that whoever hears of
/// them finds the engine free.
CurlEngine::Turn CurlEngine::step(bool endsWithTransfers, Transfers& ended) {
    ended.clear();
    loop_->step(ended);
    if (loop_->hasWork() && (ended.empty() || !endsWithTransfers)) {
        return Turn::goesOn;
    }
    if (inbox_.endTurn(loop_->hasWork())) {
        return Turn::isOver;
    }
    loop_.reset();
    ended.clear();
    return Turn::wasTheLast;
}

} // namespace cirrus
