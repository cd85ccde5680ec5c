#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "Cirrus/platform/Error.h"

namespace cirrus {

/// One JSON value with everything below it.
class JsonValue {
public:
    using Array = std::vector<JsonValue>;
    using Member = std::pair<std::string, JsonValue>;
    /// In the order in which they come, which counts when objects are compared. Of equal keys the
    /// last one is the member.
    using Object = std::vector<Member>;
    /// A whole number is signed when it fits, unsigned above that, a double above that too.
    using Storage = std::variant<std::nullptr_t, bool, std::int64_t, std::uint64_t, double,
                                 std::string, Array, Object>;

    JsonValue() = default;

    JsonValue(std::nullptr_t) {}

    JsonValue(bool value) : storage_(value) {}

    JsonValue(int value) : storage_(static_cast<std::int64_t>(value)) {}

    JsonValue(std::int64_t value) : storage_(value) {}

    JsonValue(std::uint64_t value) : storage_(value) {}

    /// Must be finite.
    JsonValue(double value) : storage_(value) {}

    JsonValue(const char* value) : storage_(std::string(value)) {}

    JsonValue(std::string value) : storage_(std::move(value)) {}

    JsonValue(Array value) : storage_(std::move(value)) {}

    JsonValue(Object value) : storage_(std::move(value)) {}

    /// The value as this type, or null when it is of another.
    template <class Type>
    [[nodiscard]] const Type* as() const {
        return std::get_if<Type>(&storage_);
    }

    template <class Type>
    [[nodiscard]] Type* as() {
        return std::get_if<Type>(&storage_);
    }

    [[nodiscard]] bool isNull() const { return as<std::nullptr_t>() != nullptr; }

    /// The member of an object; null when this is no object or has no such key. Keys compare byte
    /// by byte.
    [[nodiscard]] const JsonValue* member(std::string_view key) const;
    [[nodiscard]] JsonValue* member(std::string_view key);

    /// A whole number within the signed 64-bit range, however it is written (404 or 404.0).
    [[nodiscard]] std::optional<std::int64_t> wholeNumber() const;

    /// Calls `visitor` with the value as the type that it holds.
    template <class Visitor>
    decltype(auto) visit(Visitor&& visitor) const {
        return std::visit(std::forward<Visitor>(visitor), storage_);
    }

    friend bool operator==(const JsonValue&, const JsonValue&) = default;

private:
    Storage storage_;
};

/// Why a text is not JSON.
struct JsonError {
    std::string reason;

    [[nodiscard]] std::string diagnosticText() const { return reason; }
};

/// Reads one JSON document (UTF-8). Fails on anything that is not exactly one value, on numbers
/// that no double can hold, and on nesting deeper than 256.
[[nodiscard]] Result<JsonValue, JsonError> parseJson(std::string_view text);

/// Writes a value as pretty-printed JSON; nothing when it holds text that is not UTF-8.
[[nodiscard]] std::optional<std::string> writeJson(const JsonValue& value);

} // namespace cirrus
