#include "Cirrus/platform/http/CurlError.h"

namespace cirrus {

TransportError curlError(CURLcode code, const std::string& text,
                         std::chrono::milliseconds idleLimit) {
    using enum FailureReason;
    const std::string said = text.empty() ? curl_easy_strerror(code) : text;
    if (code == CURLE_COULDNT_RESOLVE_PROXY || text.starts_with("Unsupported proxy")) {
        // libcurl's text may quote the proxy's password.
        return {.reason = offline, .code = code, .text = "The proxy's address is of no use"};
    }
    switch (code) {
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_CONNECT:
        return {.reason = offline, .code = code, .text = said};
    case CURLE_OPERATION_TIMEDOUT:
        return {.reason = timedOut,
                .code = code,
                .text = "Nothing moved for " + std::to_string(idleLimit.count()) + " ms"};
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_ISSUER_ERROR:
        return {.reason = untrustedConnection, .code = code, .text = said};
    case CURLE_GOT_NOTHING:
    case CURLE_PARTIAL_FILE:
    case CURLE_SEND_ERROR:
    case CURLE_RECV_ERROR:
        return {.reason = connectionLost, .code = code, .text = said};
    case CURLE_OUT_OF_MEMORY:
        // libcurl 7.88 has no other code for a field that is too long.
        return {.text = "A field of the answer's head is too long, or memory has run out"};
    default:
        return {.code = code, .text = said};
    }
}

} // namespace cirrus
