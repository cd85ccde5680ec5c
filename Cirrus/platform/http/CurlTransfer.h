#pragma once

#include <curl/curl.h>

#include <array>
#include <chrono>
#include <cstdint>

#include "Cirrus/platform/http/ConnectionTable.h"
#include "Cirrus/platform/http/HttpTransfer.h"
#include "Cirrus/platform/http/UploadPacer.h"

namespace cirrus {

/// A transfer in flight, with libcurl's easy handle for it. Used on the network thread only.
class CurlTransfer {
public:
    using Clock = std::chrono::steady_clock;

    CurlTransfer(std::shared_ptr<HttpTransfer> transfer, ConnectionTable& connections);
    CurlTransfer(const CurlTransfer&) = delete;
    CurlTransfer& operator=(const CurlTransfer&) = delete;
    ~CurlTransfer();

    [[nodiscard]] CURL* easy() const { return easy_; }

    [[nodiscard]] std::chrono::milliseconds idleLimit() const {
        return transfer_->request.idleLimit;
    }

    /// Whether no byte has moved for `idleLimit()`, as seen by the calls so far, or the answer
    /// brings more than any answer of Drive does.
    [[nodiscard]] bool mustEnd(Clock::time_point now);

    /// True if the kept connection turned out to be unusable before anything was sent on it. The
    /// handle is then set up to start again on a new one.
    [[nodiscard]] bool preparesNewConnection();

    /// Fills in the outcome that libcurl's result stands for, and returns the transfer. The last
    /// call on this object.
    [[nodiscard]] std::shared_ptr<HttpTransfer> finish(CURLcode code);

private:
    void setGeneralOptions();
    void setCallbacks();
    void setServer(const TestServer& server);
    void setRequest();
    void setHeaders();
    [[nodiscard]] HeaderFields receivedHeaders() const;
    void abort(std::string text, FailureReason reason = FailureReason::other);
    [[nodiscard]] bool mustNotSendAgain();

    // libcurl's callbacks; `self` is the transfer.
    static curl_socket_t openSocket(void* self, curlsocktype, curl_sockaddr* address) noexcept;
    static int closeSocket(void* connections, curl_socket_t socket) noexcept;
    static std::size_t receiveHeadLine(const char* bytes, std::size_t, std::size_t count,
                                       void* self) noexcept;
    static std::size_t receiveBody(const char* bytes, std::size_t, std::size_t count,
                                   void* self) noexcept;
    static std::size_t sendBody(char* to, std::size_t, std::size_t room, void* self) noexcept;
    static int reportProgress(void* self, curl_off_t, curl_off_t, curl_off_t,
                              curl_off_t sent) noexcept;
    static int beginRequest(void* self, char*, char*, int, int localPort) noexcept;

    void set(CURLoption option, auto value) { curl_easy_setopt(easy_, option, value); }

    template <class Value>
    [[nodiscard]] Value get(CURLINFO info) const {
        Value value{};
        curl_easy_getinfo(easy_, info, &value);
        return value;
    }

    std::shared_ptr<HttpTransfer> transfer_;
    ConnectionTable& connections_;
    CURL* easy_;
    curl_slist* headerLines_ = nullptr;
    curl_slist* connectTo_ = nullptr;
    std::array<char, CURL_ERROR_SIZE> errorText_{};
    UploadPacer pacer_;
    std::string answer_;
    std::size_t headSize_ = 0; ///< with interim answers and trailers
    bool isHeadComplete_ = false;
    std::optional<TransportError> abortReason_; ///< takes the place of libcurl's error
    bool hasBegun_ = false;                     ///< the request may have reached the server
    bool isConnectionStale_ = false;
    Traffic trafficBefore_; ///< on the connection, before the request
    std::uint64_t lastByteCount_ = 0;
    Clock::time_point lastMoved_ = Clock::now();
};

} // namespace cirrus
