#include "Cirrus/records/RecordCoder.h"

#include "Cirrus/records/ServiceError.h"

namespace cirrus {

std::string readValue(const JsonValue& json, std::string& text) {
    if (!json.is_string()) {
        return "not a text";
    }
    json.get_to(text);
    return {};
}

std::string readValue(const JsonValue& json, bool& boolean) {
    boolean = json.is_boolean() && json.get<bool>();
    return json.is_boolean() ? "" : "not a boolean";
}

std::string readValue(const JsonValue& json, std::optional<bool>& boolean) {
    return readValue(json, boolean.emplace());
}

std::string readValue(const JsonValue& json, std::int64_t& number) {
    const auto whole = wholeNumber(json);
    number = whole.value_or(0);
    return whole ? "" : "not a whole number of 64 bits";
}

std::string readValue(const JsonValue& json, std::optional<Url>& url) {
    url = json.is_string() ? Url::parse(json.get<std::string>()) : std::nullopt;
    return url ? "" : "not a URL";
}

const JsonValue* findMember(const JsonValue& object, const std::string& key) {
    const auto found = object.find(key);
    return found != object.end() && !found->is_null() ? &*found : nullptr;
}

Result<ServiceError, DecodingError> ServiceError::decode(const JsonValue& json) {
    const auto key = keyText(ContainerKeys::error);
    const auto* envelope = json.is_object() ? findMember(json, key) : nullptr;
    if (envelope == nullptr) {
        return std::unexpected(DecodingError{.key = key, .reason = "missing or null"});
    }
    return decodeRecord<ServiceError>(*envelope);
}

} // namespace cirrus
