#include "Cirrus/records/ServiceError.h"

#include <utility>

namespace cirrus {

Result<ServiceError, DecodingError> ServiceError::decode(JsonValue json) {
    RecordDecoder container(json);
    auto envelope = container.finish(container.nested(ContainerKeys::error));
    if (!envelope) {
        return std::unexpected(std::move(envelope).error());
    }
    RecordDecoder decoder(*envelope);
    return decoder.finish(ServiceError{.code = decoder.wholeNumber(ServiceErrorKeys::code),
                                       .message = decoder.text(ServiceErrorKeys::message)});
}

std::string ServiceError::diagnosticText() const {
    return std::to_string(code) + ": " + message;
}

} // namespace cirrus
