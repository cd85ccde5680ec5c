#include "Cirrus/platform/http/HttpTransfer.h"

#include <algorithm>
#include <string_view>

#include "Cirrus/platform/formats/UrlBuilder.h"

namespace cirrus {

namespace {

bool hasControlCharacter(std::string_view text) {
    return std::ranges::any_of(text, [](char character) {
        return static_cast<unsigned char>(character) < 0x20 || character == 0x7F;
    });
}

} // namespace

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

} // namespace cirrus
