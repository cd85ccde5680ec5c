#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace cirrus {

// The members of a record as its JSON object spells them are an enumeration, with a function
// `keyTexts` beside it that gives the texts in the order of the cases.

template <class Key>
[[nodiscard]] std::string keyText(Key key) {
    return std::string(keyTexts(key)[static_cast<std::size_t>(key)]);
}

/// The case of a key text; none unless it is spelled exactly so.
template <class Key>
[[nodiscard]] constexpr std::optional<Key> keyFromText(std::string_view text) {
    constexpr auto texts = keyTexts(Key{});
    const auto* found = std::ranges::find(texts, text);
    return found != texts.end() ? std::optional(static_cast<Key>(found - texts.begin()))
                                : std::nullopt;
}

/// Keys are texts: no integer stands for one.
template <class Key>
[[nodiscard]] constexpr std::optional<Key> keyFromInteger(std::int64_t) {
    return std::nullopt;
}

} // namespace cirrus
