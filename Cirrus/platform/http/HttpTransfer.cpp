#include "Cirrus/platform/http/HttpTransfer.h"

#include <curl/curl.h>

#include <algorithm>

#include "Cirrus/platform/formats/UrlBuilder.h"

namespace cirrus {

namespace {

bool hasControlCharacter(std::string_view text) {
    return std::ranges::any_of(text, [](char character) {
        return static_cast<unsigned char>(character) < 0x20 || character == 0x7F;
    });
}

} // namespace

std::optional<std::string> headerValue(const HeaderFields& fields, const std::string& name) {
    std::optional<std::string> joined;
    for (const auto& [other, value] : fields) {
        if (curl_strequal(other.c_str(), name.c_str()) != 0) {
            joined = joined ? *joined + ", " + value : value;
        }
    }
    return joined;
}

std::optional<std::string> reasonNotToSend(const HttpRequest& request) {
    if (!UrlBuilder::isHttps(request.url)) {
        return "The URL is not an absolute HTTPS URL";
    }
    const auto isUnsafe = [](const auto& field) {
        return hasControlCharacter(field.first) || hasControlCharacter(field.second);
    };
    if (std::ranges::any_of(request.headers, isUnsafe)) {
        return "A header field holds a control character";
    }
    return std::nullopt;
}

std::string TransportError::diagnosticText() const {
    auto details = std::string("(").append(std::to_string(code)).append(": ").append(text);
    details += ')';
    switch (reason) {
    case FailureReason::offline:
        return "noConnection" + details;
    case FailureReason::timedOut:
        return "timedOut" + details;
    case FailureReason::untrustedConnection:
        return "untrustedCertificate" + details;
    default:
        return "transportError" + details;
    }
}

} // namespace cirrus
