#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Cirrus/platform/Error.h"
#include "Cirrus/platform/Json.h"
#include "Cirrus/platform/Url.h"
#include "Cirrus/records/CodingKey.h"

namespace cirrus {

/// Why a JSON value is not the record that it should be.
struct DecodingError {
    /// The key whose value was at fault; empty when it was the value as a whole.
    std::string key;
    std::string reason;

    [[nodiscard]] std::string diagnosticText() const;
};

/// Moves the members of one record out of a JSON object. The first member that is missing or
/// wrong fails the whole record; what is read after that is empty and of no account. Keys that
/// nobody asks for are ignored.
class RecordDecoder {
public:
    explicit RecordDecoder(JsonValue& value);

    [[nodiscard]] std::string text(CodingKey auto key) {
        return required<std::string>(keyText(key), "a text");
    }

    [[nodiscard]] bool boolean(CodingKey auto key) {
        return required<bool>(keyText(key), "a boolean");
    }

    [[nodiscard]] std::int64_t wholeNumber(CodingKey auto key) {
        return wholeNumberAt(keyText(key));
    }

    [[nodiscard]] std::optional<bool> optionalBoolean(CodingKey auto key) {
        const auto* value = find<bool>(keyText(key), "a boolean");
        return value != nullptr ? std::optional(*value) : std::nullopt;
    }

    [[nodiscard]] std::optional<Url> optionalUrl(CodingKey auto key) {
        return optionalUrlAt(keyText(key));
    }

    template <class Record>
    [[nodiscard]] std::vector<Record> list(CodingKey auto key) {
        auto* elements = find<JsonValue::Array>(keyText(key), "a list", Absence::isError);
        if (elements == nullptr) {
            return {};
        }
        std::vector<Record> records;
        records.reserve(elements->size());
        for (auto& element : *elements) {
            auto record = Record::decode(std::move(element));
            if (!record) {
                fail(keyText(key), record.error().diagnosticText());
                return {};
            }
            records.push_back(*std::move(record));
        }
        return records;
    }

    /// The value of a key that must be there, to be decoded on its own; null after a failure.
    [[nodiscard]] JsonValue nested(CodingKey auto key) { return nestedAt(keyText(key)); }

    /// The record, unless something was wrong.
    template <class Record>
    [[nodiscard]] Result<Record, DecodingError> finish(Record record) {
        if (error_) {
            return std::unexpected(*std::move(error_));
        }
        return record;
    }

private:
    enum class Absence { isFine, isError };

    template <class Type>
    Type required(std::string_view key, std::string_view expected) {
        auto* value = find<Type>(key, expected, Absence::isError);
        return value != nullptr ? std::move(*value) : Type{};
    }

    /// The value of a key as this type; null, with the failure noted, when that can not be.
    template <class Type>
    Type* find(std::string_view key, std::string_view expected, Absence absence = Absence::isFine) {
        auto* value = present(key, absence);
        auto* typed = value != nullptr ? value->template as<Type>() : nullptr;
        if (value != nullptr && typed == nullptr) {
            fail(key, "not " + std::string(expected));
        }
        return typed;
    }

    [[nodiscard]] JsonValue* present(std::string_view key, Absence absence);
    [[nodiscard]] std::int64_t wholeNumberAt(std::string_view key);
    [[nodiscard]] std::optional<Url> optionalUrlAt(std::string_view key);
    [[nodiscard]] JsonValue nestedAt(std::string_view key);
    void fail(std::string_view key, std::string reason);

    JsonValue& value_;
    std::optional<DecodingError> error_;
};

} // namespace cirrus
