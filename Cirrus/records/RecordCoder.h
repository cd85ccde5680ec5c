#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include <Cirrus/Error.h>
#include <Cirrus/Url.h>

#include "Cirrus/platform/formats/Json.h"
#include "Cirrus/records/DecodingError.h"

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

// Each stores a JSON value in a member and returns what is wrong ("not a text"); empty on success.
[[nodiscard]] std::string readValue(const JsonValue& json, std::string& text);
[[nodiscard]] std::string readValue(const JsonValue& json, bool& boolean);
[[nodiscard]] std::string readValue(const JsonValue& json, std::optional<bool>& boolean);
[[nodiscard]] std::string readValue(const JsonValue& json, std::int64_t& number);
[[nodiscard]] std::string readValue(const JsonValue& json, std::optional<Url>& url);

// Each writes a member; JSON's null stands for an absent one.
[[nodiscard]] JsonValue writeValue(const auto& value) {
    return value;
}

inline JsonValue writeValue(const Url& url) {
    return url.text();
}

template <class Value>
[[nodiscard]] JsonValue writeValue(const std::optional<Value>& value) {
    return value ? writeValue(*value) : JsonValue();
}

/// The member of an object; null if the key is missing or the value is JSON's null.
[[nodiscard]] const JsonValue* findMember(const JsonValue& object, const std::string& key);

/// Decodes the members in the order of their keys. The first that is missing or wrong fails the
/// record; an optional one may be missing or null. Other keys of the object are ignored.
template <class Record>
Result<Record, DecodingError> decodeRecord(const JsonValue& json) {
    if (!json.is_object()) {
        return std::unexpected(DecodingError{.key = {}, .reason = "not an object"});
    }
    Record record;
    DecodingError error;
    int index = 0;
    const auto decodeOne = [&]<class Value>(Value Record::* member) {
        error.key = keyText(static_cast<Record::CodingKeys>(index++));
        if (const auto* value = findMember(json, error.key)) {
            error.reason = readValue(*value, record.*member);
        } else if constexpr (!requires(Value optional) { optional.has_value(); }) {
            error.reason = "missing or null";
        }
        return error.reason.empty();
    };
    const bool isDecoded =
        std::apply([&](auto... member) { return (decodeOne(member) && ...); }, Record::members());
    if (!isDecoded) {
        return std::unexpected(std::move(error));
    }
    return record;
}

/// The mirror of `decodeRecord`; an absent optional member has no key.
template <class Record>
JsonValue encodeRecord(const Record& record) {
    auto object = JsonValue::object();
    int index = 0;
    const auto encodeOne = [&](auto member) {
        const auto key = static_cast<Record::CodingKeys>(index++);
        if (auto value = writeValue(record.*member); !value.is_null()) {
            object[keyText(key)] = std::move(value);
        }
    };
    std::apply([&](auto... member) { (encodeOne(member), ...); }, Record::members());
    return object;
}

template <class Record>
std::string readValue(const JsonValue& json, std::vector<Record>& records) {
    if (!json.is_array()) {
        return "not a list";
    }
    for (const auto& element : json) {
        auto record = decodeRecord<Record>(element);
        if (!record) {
            return record.error().diagnosticText();
        }
        records.push_back(*std::move(record));
    }
    return {};
}

template <class Record>
JsonValue writeValue(const std::vector<Record>& records) {
    auto list = JsonValue::array();
    for (const auto& record : records) {
        list.push_back(encodeRecord(record));
    }
    return list;
}

} // namespace cirrus
