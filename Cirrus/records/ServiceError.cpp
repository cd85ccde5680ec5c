#include "Cirrus/records/ServiceError.h"

namespace cirrus {

Result<ServiceError, DecodingError> ServiceError::decode(const JsonValue& json) {
    RecordDecoder container(json);
    const auto envelope = container.finish(container.nested(ContainerKeys::error));
    if (!envelope) {
        return std::unexpected(envelope.error());
    }
    RecordDecoder decoder(*envelope);
    return decoder.finish(ServiceError{.code = decoder.wholeNumber(ServiceErrorKeys::code),
                                       .message = decoder.text(ServiceErrorKeys::message)});
}

std::string ServiceError::diagnosticText() const {
    return std::to_string(code) + ": " + message;
}

} // namespace cirrus
