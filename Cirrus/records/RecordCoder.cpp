#include "Cirrus/records/RecordCoder.h"

namespace cirrus {

std::string DecodingError::diagnosticText() const {
    return key.empty() ? reason : "\"" + key + "\": " + reason;
}

std::string readValue(const JsonValue& json, std::string& text) {
    if (!json.is_string()) {
        return "not a text";
    }
    text = json.get<std::string>();
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
    std::string text;
    if (auto problem = readValue(json, text); !problem.empty()) {
        return problem;
    }
    url = Url::parse(text);
    return url ? "" : "not a URL";
}

JsonValue writeValue(const std::string& text) {
    return text;
}

JsonValue writeValue(bool boolean) {
    return boolean;
}

JsonValue writeValue(const std::optional<bool>& boolean) {
    return boolean ? JsonValue(*boolean) : JsonValue(JsonValue::value_t::discarded);
}

JsonValue writeValue(const std::optional<Url>& url) {
    return url ? JsonValue(url->text()) : JsonValue(JsonValue::value_t::discarded);
}

const JsonValue* findMember(const JsonValue& object, std::string_view key) {
    const auto found = object.find(key);
    return found != object.end() && !found->is_null() ? &*found : nullptr;
}

} // namespace cirrus
