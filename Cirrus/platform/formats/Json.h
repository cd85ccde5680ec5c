#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

#include <Cirrus/Error.h>

#include "Cirrus/platform/formats/JsonValue.h"

namespace cirrus {

/// Reads one JSON document in UTF-8. Fails on anything that is not exactly one value, on numbers
/// outside the range of a double, and on nesting deeper than 256. Of equal keys the last one
/// counts. The error says why.
[[nodiscard]] Result<JsonValue, std::string> parseJson(std::string_view text);

/// Writes a value as pretty-printed JSON; nullopt if it contains text that is not UTF-8.
[[nodiscard]] std::optional<std::string> writeJson(const JsonValue& value);

[[nodiscard]] bool isUtf8(std::string_view text);

/// `text` with U+FFFD in place of every sequence that is not UTF-8.
[[nodiscard]] std::string repairedUtf8(std::string_view text);

/// A whole number within the signed 64-bit range, however it is written (404 or 404.0).
[[nodiscard]] std::optional<std::int64_t> wholeNumber(const JsonValue& value);

} // namespace cirrus
