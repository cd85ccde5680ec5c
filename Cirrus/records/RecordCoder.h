#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include <Cirrus/Error.h>
#include <Cirrus/Url.h>

#include "Cirrus/platform/formats/Json.h"
#include "Cirrus/records/CodingKey.h"
#include "Cirrus/records/DecodingError.h"

namespace cirrus {

/// Which key feeds which member of a record. The type of the member says what the JSON value has
/// to be; an optional member may be missing or null.
template <CodingKey Key, class Record, class Value>
struct RecordField {
    Key key;
    Value Record::* member;
};

// Each stores a JSON value in a member and returns what the value is not; empty on success.
[[nodiscard]] std::string readValue(const JsonValue& json, std::string& text);
[[nodiscard]] std::string readValue(const JsonValue& json, bool& boolean);
[[nodiscard]] std::string readValue(const JsonValue& json, std::optional<bool>& boolean);
[[nodiscard]] std::string readValue(const JsonValue& json, std::int64_t& number);
[[nodiscard]] std::string readValue(const JsonValue& json, std::optional<Url>& url);

template <class Record>
[[nodiscard]] std::string readValue(const JsonValue& json, std::vector<Record>& records) {
    if (!json.is_array()) {
        return "not a list";
    }
    for (const auto& element : json) {
        auto record = Record::decode(element);
        if (!record) {
            return record.error().diagnosticText();
        }
        records.push_back(*std::move(record));
    }
    return {};
}

// Each writes a member; a discarded value stands for an absent one.
[[nodiscard]] JsonValue writeValue(const std::string& text);
[[nodiscard]] JsonValue writeValue(bool boolean);
[[nodiscard]] JsonValue writeValue(const std::optional<bool>& boolean);
[[nodiscard]] JsonValue writeValue(const std::optional<Url>& url);

template <class Record>
[[nodiscard]] JsonValue writeValue(const std::vector<Record>& records) {
    auto list = JsonValue::array();
    for (const auto& record : records) {
        list.push_back(record.encode());
    }
    return list;
}

/// The member of an object; null if the key is missing or the value is JSON's null.
[[nodiscard]] const JsonValue* findMember(const JsonValue& object, std::string_view key);

/// Decodes the fields in their order. The first one that is missing or wrong fails the record.
/// Other keys of the object are ignored.
template <class Record, class... Fields>
Result<Record, DecodingError> decodeRecord(const JsonValue& json,
                                           const std::tuple<Fields...>& fields) {
    if (!json.is_object()) {
        return std::unexpected(DecodingError{.key = {}, .reason = "not an object"});
    }
    Record record;
    DecodingError error;
    const auto decodeOne = [&](const auto& field) {
        auto& member = record.*field.member;
        const auto key = keyText(field.key);
        if (const auto* value = findMember(json, key)) {
            error = {.key = std::string(key), .reason = readValue(*value, member)};
        } else if constexpr (!requires { member.has_value(); }) {
            error = {.key = std::string(key), .reason = "missing or null"};
        }
        return error.reason.empty();
    };
    const bool isDecoded =
        std::apply([&](const auto&... field) { return (decodeOne(field) && ...); }, fields);
    if (!isDecoded) {
        return std::unexpected(std::move(error));
    }
    return record;
}

/// The mirror of `decodeRecord`; an absent optional member has no key.
template <class Record, class... Fields>
JsonValue encodeRecord(const Record& record, const std::tuple<Fields...>& fields) {
    auto object = JsonValue::object();
    const auto encodeOne = [&](const auto& field) {
        auto value = writeValue(record.*field.member);
        if (!value.is_discarded()) {
            object[std::string(keyText(field.key))] = std::move(value);
        }
    };
    std::apply([&](const auto&... field) { (encodeOne(field), ...); }, fields);
    return object;
}

} // namespace cirrus
