#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <Cirrus/Export.h>

namespace cirrus {

/// A URL reference as RFC 3986 defines it: absolute or relative, but never empty. An immutable
/// value that keeps its text exactly as it was given.
class CIRRUS_EXPORT Url {
public:
    /// Nothing when the text cannot be a URL reference: empty, with a blank, a control character
    /// or a character outside ASCII, with a broken percent escape, and so on.
    [[nodiscard]] static std::optional<Url> parse(std::string_view text);

    /// The text as it was given, never empty. It lives as long as this value.
    [[nodiscard]] const std::string& text() const { return text_; }

    /// Whether the texts are equal, byte by byte.
    friend bool operator==(const Url&, const Url&) = default;

private:
    friend class UrlBuilder;

    explicit Url(std::string text) : text_(std::move(text)) {}

    std::string text_;
};

} // namespace cirrus
