#include "Cirrus/webservice/WebserviceError.h"

namespace cirrus {

std::string WebserviceError::diagnosticText() const {
    switch (kind()) {
    case Case::serviceError:
        return "serviceError(" + std::get<ServiceError>(value_).diagnosticText() + ")";
    case Case::decodingError:
        return "decodingError(" + std::get<DecodingError>(value_).diagnosticText() + ")";
    case Case::underlyingError:
        return "underlyingError(" + std::get<AnyError>(value_).diagnosticText() + ")";
    case Case::missingData:
        return "missingData";
    case Case::invalidResponse:
        break;
    }
    return "invalidResponse";
}

std::optional<std::string> WebserviceError::errorDescription() const {
    switch (kind()) {
    case Case::serviceError:
        return std::get<ServiceError>(value_).errorDescription();
    case Case::underlyingError:
        return std::get<AnyError>(value_).errorDescriptionOr(
            "Something went wrong. Please try again.");
    case Case::decodingError:
    case Case::missingData:
    case Case::invalidResponse:
        break;
    }
    return "Could not read the response from Google. Please try again.";
}

} // namespace cirrus
