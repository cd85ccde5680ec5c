#include "Cirrus/records/ServiceError.h"

#include "Cirrus/records/RecordCoder.h"

namespace cirrus {

namespace {

constexpr std::tuple fields(RecordField{ServiceError::ServiceErrorKeys::code, &ServiceError::code},
                            RecordField{ServiceError::ServiceErrorKeys::message,
                                        &ServiceError::message});

} // namespace

Result<ServiceError, DecodingError> ServiceError::decode(const JsonValue& json) {
    const auto key = keyText(ContainerKeys::error);
    const auto* envelope = json.is_object() ? findMember(json, key) : nullptr;
    if (envelope == nullptr) {
        return std::unexpected(DecodingError{.key = std::string(key), .reason = "missing or null"});
    }
    return decodeRecord<ServiceError>(*envelope, fields);
}

std::string ServiceError::diagnosticText() const {
    return std::to_string(code) + ": " + message;
}

} // namespace cirrus
