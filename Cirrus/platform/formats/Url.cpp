#include <Cirrus/Url.h>

#include <algorithm>

#include "Cirrus/platform/formats/UrlBuilder.h"

namespace cirrus {

namespace {

constexpr std::string_view digits = "0123456789";
constexpr std::string_view hexDigits = "0123456789ABCDEFabcdef";
constexpr std::string_view unreservedMarks = "-._~";
constexpr std::string_view subDelimiters = "!$&'()*+,;=";

bool isAlphanumeric(char one) {
    return (one >= 'a' && one <= 'z') || (one >= 'A' && one <= 'Z') || digits.contains(one);
}

bool consistsOf(std::string_view text, auto... sets) {
    return std::ranges::all_of(
        text, [&](char one) { return (std::string_view(sets).contains(one) || ...); });
}

/// Whether a part of a URL holds only characters that may stand there and whole percent escapes.
bool isEncoded(std::string_view text, std::string_view alsoAllowed) {
    while (!text.empty()) {
        const bool isEscape = text.front() == '%';
        const auto one = text.substr(0, isEscape ? 3 : 1);
        const bool isAllowed =
            isEscape ? one.size() == 3 && consistsOf(one.substr(1), hexDigits)
                     : isAlphanumeric(one.front()) ||
                           consistsOf(one, unreservedMarks, subDelimiters, alsoAllowed);
        if (!isAllowed) {
            return false;
        }
        text.remove_prefix(one.size());
    }
    return true;
}

/// Cuts off the end of `text` from the first of these characters on, and returns it without that
/// character; empty if there is none.
std::string_view cutFrom(std::string_view& text, std::string_view ends) {
    const auto front = text.substr(0, text.find_first_of(ends));
    const auto end = text.substr(front.size());
    text = front;
    return end.substr(std::min<std::size_t>(end.size(), 1));
}

bool isScheme(std::string_view text) {
    return !text.empty() && isAlphanumeric(text.front()) && !digits.contains(text.front()) &&
           std::ranges::all_of(text, [](char one) {
               return isAlphanumeric(one) || std::string_view("+-.").contains(one);
           });
}

bool isAuthority(std::string_view text) {
    const auto user = text.substr(0, text.find('@') + 1);
    text.remove_prefix(user.size());
    const auto bracket = text.starts_with('[') ? text.find(']') : 0;
    const auto host = text.substr(0, text.find(':', bracket));
    const auto port = text.substr(host.size());
    const bool isAddress = bracket > 1 && bracket == host.size() - 1 &&
                           consistsOf(host.substr(1, bracket - 1), hexDigits, ":.");
    return isEncoded(user, ":@") && (isAddress || isEncoded(host, "")) &&
           consistsOf(port.substr(std::min<std::size_t>(port.size(), 1)), digits);
}

/// Follows the grammar of RFC 3986.
bool isReference(std::string_view hierarchy) {
    const auto fragment = cutFrom(hierarchy, "#");
    const auto query = cutFrom(hierarchy, "?");
    // A colon before the first slash can only end a scheme.
    const auto colon = hierarchy.find(':');
    if (colon < hierarchy.find('/')) {
        if (!isScheme(hierarchy.substr(0, colon))) {
            return false;
        }
        hierarchy.remove_prefix(colon + 1);
    }
    if (hierarchy.starts_with("//")) {
        const auto authority = hierarchy.substr(2, hierarchy.find('/', 2) - 2);
        if (!isAuthority(authority)) {
            return false;
        }
        hierarchy.remove_prefix(2 + authority.size());
    }
    return isEncoded(hierarchy, ":@/") && isEncoded(query, ":@/?") && isEncoded(fragment, ":@/?");
}

std::string percentEncoded(std::string_view text, std::string_view alsoAllowed) {
    std::string result;
    for (const char character : text) {
        const std::string_view one(&character, 1);
        if (isAlphanumeric(character) || consistsOf(one, unreservedMarks, alsoAllowed)) {
            result += character;
        } else {
            const auto byte = static_cast<unsigned char>(character);
            result += {'%', hexDigits[byte >> 4U], hexDigits[byte & 0xFU]};
        }
    }
    return result;
}

} // namespace

std::optional<Url> Url::parse(std::string_view text) {
    if (text.empty() || !isReference(text)) {
        return std::nullopt;
    }
    return Url(std::string(text));
}

Url UrlBuilder::appendingPath(const Url& url, std::string_view path) {
    return Url(url.text() + "/" + percentEncoded(path, "!$&'()*+,;=:@/"));
}

Url UrlBuilder::replacingQuery(const Url& url, const QueryItems& items) {
    std::string text = url.text().substr(0, url.text().find_first_of("?#"));
    char separator = '?';
    for (const auto& [name, value] : items) {
        text += separator + percentEncoded(name, "") + "=" + percentEncoded(value, "");
        separator = '&';
    }
    return Url(std::move(text));
}

std::string UrlBuilder::requestTarget(const Url& url) {
    const auto text = url.text().substr(0, url.text().find('#'));
    const auto start = text.find_first_of("/?", text.find("://") + std::string_view("://").size());
    const auto target = text.substr(std::min(start, text.size()));
    return target.starts_with('/') ? target : std::string("/").append(target);
}

bool UrlBuilder::isHttps(const Url& url) {
    constexpr std::string_view start = "https://";
    std::string_view text = url.text();
    const auto isSame = [](char one, char lowerCase) { return (one | 0x20) == (lowerCase | 0x20); };
    if (!std::ranges::equal(text.substr(0, start.size()), start, isSame)) {
        return false;
    }
    text.remove_prefix(start.size());
    const auto authority = text.substr(0, text.find_first_of("/?#"));
    const auto host = authority.substr(authority.find('@') + 1);
    return !host.empty() && host.front() != ':';
}

} // namespace cirrus
