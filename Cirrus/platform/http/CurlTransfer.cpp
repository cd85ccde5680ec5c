#include "Cirrus/platform/http/CurlTransfer.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "Cirrus/platform/formats/UrlBuilder.h"
#include "Cirrus/platform/http/CurlError.h"

namespace cirrus {

namespace {

/// Longest answer that is accepted; none of Drive's comes near it.
constexpr std::size_t longestAnswer = std::size_t{8} * 1024 * 1024;

/// The same for its head, with interim answers and trailers.
constexpr std::size_t longestHead = std::size_t{300} * 1024;

/// The same for what an answer may bring over the line, whatever it consists of.
constexpr std::uint64_t mostReceived = std::uint64_t{2} * longestAnswer;

/// Up to this size, as nearly all requests have it, a body goes to libcurl in one piece.
constexpr std::size_t longestWholeBody = std::size_t{64} * 1024;

/// A kept connection that was idle for more seconds is not reused: servers close theirs about then.
constexpr long longestReuse = 15;

} // namespace

CurlTransfer::CurlTransfer(std::shared_ptr<HttpTransfer> transfer, ConnectionTable& connections)
    : transfer_(std::move(transfer)),
      connections_(connections),
      easy_(curl_easy_init()),
      pacer_(transfer_->request.bodyText()) {
    setGeneralOptions();
    setCallbacks();
    if (transfer_->request.server) {
        setServer(*transfer_->request.server);
    }
    setRequest();
}

CurlTransfer::~CurlTransfer() {
    connections_.release(*this);
    curl_easy_cleanup(easy_);
    curl_slist_free_all(headerLines_);
    curl_slist_free_all(connectTo_);
}

bool CurlTransfer::mustEnd(Clock::time_point now) {
    // What was only handed to the kernel does not count as moved, so TCP is asked first.
    const auto moved = connections_.traffic(*this).value_or(
        Traffic{.acknowledged = static_cast<std::uint64_t>(get<curl_off_t>(CURLINFO_SIZE_UPLOAD_T)),
                .received = headSize_ + answer_.size(),
                .read = 0});
    if (hasBegun_ && moved.received > trafficBefore_.received + mostReceived) {
        abort("The answer brings more than 16 MiB");
        return true;
    }
    const auto count = moved.acknowledged + moved.received;
    if (std::exchange(lastByteCount_, count) != count) {
        lastMoved_ = now;
    }
    return now - lastMoved_ >= idleLimit();
}

bool CurlTransfer::preparesNewConnection() {
    set(CURLOPT_FRESH_CONNECT, 1L);
    return std::exchange(isConnectionStale_, false);
}

std::shared_ptr<HttpTransfer> CurlTransfer::finish(CURLcode code) {
    auto& outcome = transfer_->outcome;
    if (code == CURLE_SEND_FAIL_REWIND) {
        static_cast<void>(mustNotSendAgain());
    }
    if (code == CURLE_OK && !isHeadComplete_) {
        abort("The connection ended within the head of the answer", FailureReason::connectionLost);
    }
    if (code != CURLE_OK || abortReason_) {
        outcome.error = abortReason_.value_or(curlError(code, errorText_.data(), idleLimit()));
        return std::move(transfer_);
    }
    constexpr int noContent = 204;
    const auto status = static_cast<int>(get<long>(CURLINFO_RESPONSE_CODE));
    if (status != noContent) {
        outcome.body = std::move(answer_);
    }
    outcome.response = {.statusCode = status, .headers = receivedHeaders()};
    return std::move(transfer_);
}

void CurlTransfer::setGeneralOptions() {
    set(CURLOPT_NOSIGNAL, 1L);
    set(CURLOPT_PROTOCOLS_STR, "https");
    // Uploads over HTTP/2 stall or crawl in the libcurl versions that distributions carry, and a
    // job has one request in flight at a time.
    set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    set(CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
    // Transfers share connections, but no TLS sessions.
    set(CURLOPT_SSL_SESSIONID_CACHE, 0L);
    set(CURLOPT_MAXAGE_CONN, longestReuse);
    // Only the idle limit counts, while connecting too. libcurl's own limits are shorter.
    set(CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(std::numeric_limits<int>::max()));
    set(CURLOPT_QUICK_EXIT, 1L);
    set(CURLOPT_FOLLOWLOCATION, 0L);
    set(CURLOPT_NOPROGRESS, 0L);
    set(CURLOPT_ERRORBUFFER, errorText_.data());
}

void CurlTransfer::setCallbacks() {
    set(CURLOPT_OPENSOCKETFUNCTION, &CurlTransfer::openSocket);
    set(CURLOPT_OPENSOCKETDATA, this);
    // A kept connection may be closed after this transfer has ended.
    set(CURLOPT_CLOSESOCKETFUNCTION, &CurlTransfer::closeSocket);
    set(CURLOPT_CLOSESOCKETDATA, &connections_);
    set(CURLOPT_HEADERFUNCTION, &CurlTransfer::receiveHeadLine);
    set(CURLOPT_HEADERDATA, this);
    set(CURLOPT_WRITEFUNCTION, &CurlTransfer::receiveBody);
    set(CURLOPT_WRITEDATA, this);
    set(CURLOPT_READFUNCTION, &CurlTransfer::sendBody);
    set(CURLOPT_READDATA, this);
    set(CURLOPT_XFERINFOFUNCTION, &CurlTransfer::reportProgress);
    set(CURLOPT_XFERINFODATA, this);
    set(CURLOPT_PREREQFUNCTION, &CurlTransfer::beginRequest);
    set(CURLOPT_PREREQDATA, this);
}

void CurlTransfer::setServer(const TestServer& server) {
    connectTo_ = curl_slist_append(nullptr, ("::127.0.0.1:" + std::to_string(server.port)).c_str());
    set(CURLOPT_CONNECT_TO, connectTo_);
    const auto& text = server.certificateAuthority;
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-const-cast): libcurl only reads it
    void* const data = const_cast<char*>(text.data());
    curl_blob authority{.data = data, .len = text.size(), .flags = CURL_BLOB_NOCOPY};
    set(CURLOPT_CAINFO_BLOB, &authority);
    set(CURLOPT_CAPATH, nullptr);
    set(CURLOPT_PROXY, "");
}

void CurlTransfer::setRequest() {
    const auto& request = transfer_->request;
    set(CURLOPT_URL, request.url.text().c_str());
    // The address of a session goes back as it came; libcurl would tidy it up.
    set(CURLOPT_REQUEST_TARGET, UrlBuilder::requestTarget(request.url).c_str());
    if (request.method == "POST") {
        const auto body = request.bodyText();
        set(CURLOPT_POST, 1L);
        set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
        if (body.size() <= longestWholeBody) {
            // libcurl sends it together with the head. It does not copy it.
            set(CURLOPT_POSTFIELDS, body.empty() ? "" : body.data());
        }
        set(CURLOPT_UPLOAD_BUFFERSIZE,
            static_cast<long>(
                std::clamp(body.size(), UploadPacer::smallestChunk, UploadPacer::largestChunk)));
    }
    setHeaders();
}

void CurlTransfer::setHeaders() {
    const auto add = [this](const std::string& line) {
        headerLines_ = curl_slist_append(headerLines_, line.c_str());
    };
    const auto& fields = transfer_->request.headers;
    for (const auto& [name, value] : fields) {
        // libcurl would believe a length given here; the body's real length frames the message.
        if (curl_strequal(name.c_str(), "Content-Length") == 0) {
            add(std::string(name).append(value.empty() ? ";" : ": ").append(value));
        }
    }
    // A name with a colon and nothing behind it keeps libcurl from adding that field itself.
    add("Expect:");
    if (!headerValue(fields, "Content-Type")) {
        add("Content-Type:");
    }
    set(CURLOPT_HTTPHEADER, headerLines_);
}

/// Those of the final answer, without the ones of interim answers and trailers.
HeaderFields CurlTransfer::receivedHeaders() const {
    HeaderFields fields;
    curl_header* field = nullptr;
    while ((field = curl_easy_nextheader(easy_, CURLH_HEADER, -1, field)) != nullptr) {
        // libcurl 7.88 leaves the line end in a field without a value.
        const std::string_view value(field->value);
        fields.emplace_back(field->name, value == "\r" ? "" : value);
    }
    return fields;
}

void CurlTransfer::abort(std::string text, FailureReason reason) {
    abortReason_ = TransportError{.reason = reason, .code = 0, .text = std::move(text)};
}

/// libcurl sends a request again if a kept connection turns out to be dead. What the server has
/// done with the first one is not known then.
bool CurlTransfer::mustNotSendAgain() {
    if (hasBegun_) {
        abort("The connection was lost before the answer", FailureReason::connectionLost);
    }
    return hasBegun_;
}

curl_socket_t CurlTransfer::openSocket(void* self, curlsocktype, curl_sockaddr* address) noexcept {
    auto& transfer = *static_cast<CurlTransfer*>(self);
    return static_cast<curl_socket_t>(transfer.connections_.open(address->family, address->socktype,
                                                                 address->protocol, transfer));
}

int CurlTransfer::closeSocket(void* connections, curl_socket_t socket) noexcept {
    static_cast<ConnectionTable*>(connections)->close(static_cast<int>(socket));
    return 0;
}

std::size_t CurlTransfer::receiveHeadLine(const char* bytes, std::size_t, std::size_t count,
                                          void* self) noexcept {
    auto& transfer = *static_cast<CurlTransfer*>(self);
    const std::string_view line(bytes, count);
    if (transfer.headSize_ == 0) {
        // Bytes behind the answer before can wait within TLS, where `hasInput` does not see them.
        const auto traffic = transfer.connections_.traffic(transfer);
        if (traffic && traffic->read <= transfer.trafficBefore_.read) {
            transfer.abort("The answer came before its request");
            return CURL_WRITEFUNC_ERROR;
        }
    }
    transfer.headSize_ += count;
    if (transfer.headSize_ > longestHead) {
        transfer.abort("The head of the answer is longer than 300 KiB");
        return CURL_WRITEFUNC_ERROR;
    }
    if (line.starts_with("HTTP/")) {
        transfer.isHeadComplete_ = false;
    } else if (line.find_first_not_of("\r\n") == std::string_view::npos) {
        transfer.isHeadComplete_ = true;
    }
    return count;
}

std::size_t CurlTransfer::receiveBody(const char* bytes, std::size_t, std::size_t count,
                                      void* self) noexcept {
    auto& transfer = *static_cast<CurlTransfer*>(self);
    if (count > longestAnswer - transfer.answer_.size()) {
        transfer.abort("The answer is longer than 8 MiB");
        return CURL_WRITEFUNC_ERROR;
    }
    transfer.answer_.append(bytes, count);
    return count;
}

std::size_t CurlTransfer::sendBody(char* to, std::size_t, std::size_t room, void* self) noexcept {
    const auto chunk = static_cast<CurlTransfer*>(self)->pacer_.nextChunk(room, Clock::now());
    return chunk.copy(to, chunk.size());
}

int CurlTransfer::reportProgress(void* self, curl_off_t, curl_off_t, curl_off_t,
                                 curl_off_t sent) noexcept {
    if (const auto& progress = static_cast<CurlTransfer*>(self)->transfer_->progress) {
        progress->setCompletedUnitCount(static_cast<std::uint64_t>(sent));
    }
    return 0;
}

/// Called once connected, just before the request is sent. On a kept connection something may have
/// arrived in the meantime: the end of TLS, or bytes that would pass for the answer. libcurl
/// notices only the end of TCP.
int CurlTransfer::beginRequest(void* self, char*, char*, int, int localPort) noexcept {
    auto& transfer = *static_cast<CurlTransfer*>(self);
    if (transfer.mustNotSendAgain()) {
        return CURL_PREREQFUNC_ABORT;
    }
    if (transfer.get<long>(CURLINFO_NUM_CONNECTS) == 0) {
        const int socket = transfer.connections_.use(localPort, transfer);
        transfer.isConnectionStale_ = socket < 0 || sockets::hasInput(socket);
    }
    transfer.trafficBefore_ = transfer.connections_.traffic(transfer).value_or(Traffic());
    transfer.hasBegun_ = !transfer.isConnectionStale_;
    return transfer.hasBegun_ ? CURL_PREREQFUNC_OK : CURL_PREREQFUNC_ABORT;
}

} // namespace cirrus
