#include "Cirrus/records/RecordDecoder.h"

namespace cirrus {

std::string DecodingError::diagnosticText() const {
    return key.empty() ? reason : "\"" + key + "\": " + reason;
}

RecordDecoder::RecordDecoder(JsonValue& value) : value_(value) {
    if (value.as<JsonValue::Object>() == nullptr) {
        fail({}, "not an object");
    }
}

/// The value of a key; null when it is absent or JSON's null.
JsonValue* RecordDecoder::present(std::string_view key, Absence absence) {
    auto* value = value_.member(key);
    if (value != nullptr && !value->isNull()) {
        return value;
    }
    if (absence == Absence::isError) {
        fail(key, "missing or null");
    }
    return nullptr;
}

std::int64_t RecordDecoder::wholeNumberAt(std::string_view key) {
    const auto* value = present(key, Absence::isError);
    if (value == nullptr) {
        return 0;
    }
    const auto number = value->wholeNumber();
    if (!number) {
        fail(key, "not a whole number of 64 bits");
    }
    return number.value_or(0);
}

std::optional<Url> RecordDecoder::optionalUrlAt(std::string_view key) {
    const auto* text = find<std::string>(key, "a text");
    if (text == nullptr) {
        return std::nullopt;
    }
    auto url = Url::parse(*text);
    if (!url) {
        fail(key, "not a URL");
    }
    return url;
}

JsonValue RecordDecoder::nestedAt(std::string_view key) {
    auto* value = present(key, Absence::isError);
    return value != nullptr ? std::move(*value) : JsonValue();
}

void RecordDecoder::fail(std::string_view key, std::string reason) {
    if (!error_) {
        error_ = DecodingError{.key = std::string(key), .reason = std::move(reason)};
    }
}

} // namespace cirrus
