#include "Cirrus/platform/http/CurlError.h"

#include <string>

namespace cirrus {

namespace {

TransportError::Reason reasonFor(CURLcode code) {
    using enum TransportError::Reason;
    switch (code) {
    case CURLE_COULDNT_RESOLVE_PROXY:
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_CONNECT:
        return noConnection;
    case CURLE_OPERATION_TIMEDOUT:
        return timedOut;
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_ISSUER_ERROR:
        return untrustedCertificate;
    case CURLE_GOT_NOTHING:
    case CURLE_PARTIAL_FILE:
    case CURLE_SEND_ERROR:
    case CURLE_RECV_ERROR:
        return connectionLost;
    default:
        return other;
    }
}

} // namespace

TransportError curlError(CURLcode code, std::string_view text,
                         std::chrono::milliseconds idleLimit) {
    if (code == CURLE_COULDNT_RESOLVE_PROXY || text.starts_with("Unsupported proxy")) {
        // libcurl's text may quote the proxy's password.
        return {.reason = TransportError::Reason::noConnection,
                .code = code,
                .text = "The proxy's address is of no use"};
    }
    if (code == CURLE_OUT_OF_MEMORY) {
        // libcurl 7.88 has no other code for it.
        return {.reason = TransportError::Reason::other,
                .code = 0,
                .text = "A field of the answer's head is too long, or memory has run out"};
    }
    if (code == CURLE_OPERATION_TIMEDOUT) {
        return {.reason = TransportError::Reason::timedOut,
                .code = code,
                .text = "Nothing moved for " + std::to_string(idleLimit.count()) + " ms"};
    }
    return {.reason = reasonFor(code),
            .code = code,
            .text = std::string(text.empty() ? curl_easy_strerror(code) : text)};
}

} // namespace cirrus
