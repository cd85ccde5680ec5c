#include "Cirrus/platform/Url.h"

#include <uriparser/Uri.h>

#include <algorithm>
#include <array>
#include <initializer_list>

#include "Cirrus/platform/UrlBuilder.h"

namespace cirrus {

namespace {

constexpr std::string_view unreserved =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~";
/// What a path may hold beside them: sub-delimiters, ":", "@" and the separator of segments.
constexpr std::string_view pathCharacters = "!$&'()*+,;=:@/";

/// The parsed parts of a URL; they point into the parsed text.
class Parts {
public:
    explicit Parts(std::string_view text) {
        const char* errorPosition = nullptr;
        isValid_ = uriParseSingleUriExA(&uri_, text.data(), text.data() + text.size(),
                                        &errorPosition) == URI_SUCCESS;
    }

    Parts(const Parts&) = delete;
    Parts& operator=(const Parts&) = delete;

    ~Parts() {
        if (isValid_) {
            uriFreeUriMembersA(&uri_);
        }
    }

    [[nodiscard]] bool isValid() const { return isValid_; }

    /// Where the query or the fragment begins, question mark or number sign included; the end of
    /// `text` when there is neither.
    [[nodiscard]] std::size_t endOfPath(std::string_view text) const {
        const char* part = uri_.query.first != nullptr ? uri_.query.first : uri_.fragment.first;
        return part != nullptr ? static_cast<std::size_t>(part - text.data()) - 1 : text.size();
    }

private:
    UriUriA uri_{};
    bool isValid_ = false;
};

std::string percentEncoded(std::string_view text, std::string_view alsoAllowed) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string result;
    result.reserve(text.size());
    for (const char character : text) {
        if (unreserved.contains(character) || alsoAllowed.contains(character)) {
            result += character;
        } else {
            const auto byte = static_cast<unsigned char>(character);
            result += {'%', digits[byte >> 4U], digits[byte & 0xFU]};
        }
    }
    return result;
}

bool equalsIgnoringCase(std::string_view text, std::string_view lowerCase) {
    return std::ranges::equal(text, lowerCase, [](char left, char right) {
        return (left >= 'A' && left <= 'Z' ? left - 'A' + 'a' : left) == right;
    });
}

constexpr std::array<bool, 256> setOf(std::initializer_list<std::string_view> characters) {
    std::array<bool, 256> set{};
    for (const auto some : characters) {
        std::ranges::for_each(some, [&](unsigned char byte) { set.at(byte) = true; });
    }
    return set;
}

/// Whether the text obviously is a URL, as nearly all are that a service names. What is left takes
/// a parser to tell.
bool isPlainHttps(std::string_view text) {
    constexpr std::string_view start = "https://";
    static constexpr auto inHost = setOf({"abcdefghijklmnopqrstuvwxyz0123456789-."});
    static constexpr auto afterHost = setOf({unreserved, pathCharacters, "?"});
    if (!text.starts_with(start)) {
        return false;
    }
    const auto rest = text.substr(start.size());
    const auto* const endOfHost =
        std::ranges::find_if_not(rest, [](unsigned char byte) { return inHost[byte]; });
    return endOfHost != rest.begin() && endOfHost != rest.end() && *endOfHost == '/' &&
           std::all_of(endOfHost, rest.end(), [](unsigned char byte) { return afterHost[byte]; });
}

} // namespace

std::optional<Url> Url::parse(std::string_view text) {
    if (!isPlainHttps(text) && (text.empty() || !Parts(text).isValid())) {
        return std::nullopt;
    }
    return Url(std::string(text));
}

Url UrlBuilder::appendingPath(const Url& url, std::string_view path) {
    return Url(url.text() + "/" + percentEncoded(path, pathCharacters));
}

Url UrlBuilder::replacingQuery(const Url& url, const QueryItems& items) {
    std::string text = url.text().substr(0, Parts(url.text()).endOfPath(url.text()));
    char separator = '?';
    for (const auto& [name, value] : items) {
        text += separator + percentEncoded(name, {}) + "=" + percentEncoded(value, {});
        separator = '&';
    }
    return Url(std::move(text));
}

bool UrlBuilder::isHttps(const Url& url) {
    // The text is known to be a well-formed URL, so that its parts need no parser.
    constexpr std::string_view start = "https://";
    const std::string_view text = url.text();
    if (!equalsIgnoringCase(text.substr(0, start.size()), start)) {
        return false;
    }
    const auto rest = text.substr(start.size());
    const auto isEnd = [](char character) {
        return character == '/' || character == '?' || character == '#';
    };
    const std::string_view authority(rest.begin(), std::ranges::find_if(rest, isEnd));
    const auto host = authority.substr(authority.find('@') + 1);
    return !host.empty() && host.front() != ':';
}

} // namespace cirrus
