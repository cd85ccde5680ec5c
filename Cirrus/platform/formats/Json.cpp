#include "Cirrus/platform/formats/Json.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace cirrus {

namespace {

/// Looked at beforehand: with a callback that counts, the parser's time grows with the square of
/// the text.
bool isNestedTooDeeply(std::string_view text) {
    constexpr int deepest = 256;
    int depth = 0;
    bool isInString = false;
    for (std::size_t at = 0; at < text.size() && depth <= deepest; ++at) {
        const char one = text[at];
        if (one == '"') {
            isInString = !isInString;
        } else if (isInString) {
            at += one == '\\' ? 1 : 0;
        } else {
            depth += one == '[' || one == '{' ? 1 : 0;
            depth -= one == ']' || one == '}' ? 1 : 0;
        }
    }
    return depth > deepest;
}

} // namespace

Result<JsonValue, std::string> parseJson(std::string_view text) {
    if (isNestedTooDeeply(text)) {
        return std::unexpected("JSON nested too deeply");
    }
    try {
        return JsonValue::parse(text);
    } catch (const JsonValue::parse_error& error) {
        return std::unexpected("not JSON at byte " + std::to_string(error.byte));
    } catch (const JsonValue::out_of_range&) {
        return std::unexpected("a number too large for JSON");
    }
}

std::optional<std::string> writeJson(const JsonValue& value) {
    try {
        return value.dump(2);
    } catch (const JsonValue::type_error&) {
        return std::nullopt;
    }
}

bool isUtf8(std::string_view text) {
    const bool isAscii = std::ranges::all_of(text, [](char one) { return (one & 0x80) == 0; });
    return isAscii || writeJson(text).has_value();
}

std::string repairedUtf8(std::string_view text) {
    if (isUtf8(text)) {
        return std::string(text);
    }
    const auto repaired = JsonValue(text).dump(-1, ' ', false, JsonValue::error_handler_t::replace);
    return JsonValue::parse(repaired).get<std::string>();
}

std::optional<std::int64_t> wholeNumber(const JsonValue& value) {
    constexpr auto greatest = std::numeric_limits<std::int64_t>::max();
    if (value.is_number_integer()) {
        const bool isTooLarge = value.is_number_unsigned() && value.get<std::uint64_t>() > greatest;
        return isTooLarge ? std::nullopt : std::optional(value.get<std::int64_t>());
    }
    // Neither bound counts: the upper one is the first double that no longer fits, and whole
    // numbers just below the lower one are rounded to it.
    constexpr double bound = 9223372036854775808.0;
    const double real = value.is_number_float() ? value.get<double>() : bound;
    const bool isWhole = std::abs(real) < bound && std::trunc(real) == real;
    return isWhole ? std::optional(static_cast<std::int64_t>(real)) : std::nullopt;
}

} // namespace cirrus
