#include <Cirrus/Url.h>

#include <algorithm>

#include "Cirrus/platform/formats/UrlBuilder.h"

namespace cirrus {

namespace {

constexpr std::string_view letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
constexpr std::string_view digits = "0123456789";
constexpr std::string_view hexDigits = "0123456789ABCDEFabcdef";
constexpr std::string_view unreservedMarks = "-._~";
constexpr std::string_view subDelimiters = "!$&'()*+,;=";

bool consistsOf(std::string_view text, auto... sets) {
    return std::ranges::all_of(text, [&](char one) { return (sets.contains(one) || ...); });
}

/// Whether a part of a URL holds only characters that may stand there and whole percent escapes.
bool isEncoded(std::string_view text, std::string_view alsoAllowed) {
    for (auto percent = text.find('%'); percent != std::string_view::npos;
         percent = text.find('%')) {
        const auto escape = text.substr(percent).substr(1, 2);
        if (escape.size() != 2 || !consistsOf(escape, hexDigits) ||
            !isEncoded(text.substr(0, percent), alsoAllowed)) {
            return false;
        }
        text.remove_prefix(percent + 3);
    }
    return std::ranges::all_of(text, [alsoAllowed](char one) {
        const bool isAlphanumeric =
            (one >= 'a' && one <= 'z') || (one >= 'A' && one <= 'Z') || (one >= '0' && one <= '9');
        return isAlphanumeric || unreservedMarks.contains(one) || subDelimiters.contains(one) ||
               alsoAllowed.contains(one);
    });
}

/// Cuts off the front of `text` up to `end`, and `end` too; all of it if `end` does not occur.
std::string_view cutUpTo(std::string_view& text, std::string_view end) {
    const auto front = text.substr(0, text.find(end));
    text.remove_prefix(std::min(text.size(), front.size() + end.size()));
    return front;
}

bool isScheme(std::string_view text) {
    return !text.empty() && letters.contains(text.front()) &&
           consistsOf(text, letters, digits, std::string_view("+-."));
}

bool isAuthority(std::string_view text) {
    const auto at = text.find('@');
    if (at != std::string_view::npos) {
        if (!isEncoded(text.substr(0, at), ":")) {
            return false;
        }
        text.remove_prefix(at + 1);
    }
    bool hasGoodHost = false;
    if (text.starts_with('[')) {
        const bool isClosed = text.contains(']');
        const auto address = cutUpTo(text, "]").substr(1);
        hasGoodHost = isClosed && !address.empty() &&
                      consistsOf(address, hexDigits, std::string_view(":.")) &&
                      (text.empty() || text.front() == ':');
    } else {
        const auto host = text.substr(0, text.find(':'));
        hasGoodHost = isEncoded(host, "");
        text.remove_prefix(host.size());
    }
    return hasGoodHost && consistsOf(text.substr(text.empty() ? 0 : 1), digits);
}

/// Follows the grammar of RFC 3986.
bool isReference(std::string_view text) {
    auto rest = text;
    auto hierarchy = cutUpTo(rest, "#");
    const auto fragment = rest;
    rest = hierarchy;
    hierarchy = cutUpTo(rest, "?");
    const auto query = rest;
    // A colon before the first slash can only end a scheme.
    if (hierarchy.substr(0, hierarchy.find('/')).contains(':') &&
        !isScheme(cutUpTo(hierarchy, ":"))) {
        return false;
    }
    if (hierarchy.starts_with("//")) {
        hierarchy.remove_prefix(2);
        const auto authority = hierarchy.substr(0, hierarchy.find('/'));
        if (!isAuthority(authority)) {
            return false;
        }
        hierarchy.remove_prefix(authority.size());
    }
    return isEncoded(hierarchy, ":@/") && isEncoded(query, ":@/?") && isEncoded(fragment, ":@/?");
}

std::string percentEncoded(std::string_view text, std::string_view alsoAllowed) {
    std::string result;
    for (const char character : text) {
        const std::string_view one(&character, 1);
        if (consistsOf(one, letters, digits, unreservedMarks, alsoAllowed)) {
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
    std::string target(start == std::string::npos || text[start] == '?' ? "/" : "");
    target += text.substr(std::min(start, text.size()));
    return target;
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
