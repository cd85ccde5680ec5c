#include "Cirrus/webservice/WebserviceError.h"

#include "Cirrus/platform/errors/ErrorKind.h"
#include "Cirrus/webservice/ConnectionError.h"

namespace cirrus {

namespace {

FailureReason reasonFor(std::int64_t serviceCode) {
    switch (serviceCode) {
    case 401:
        return FailureReason::signedOut;
    case 404:
        return FailureReason::notFound;
    case 429:
        return FailureReason::tooManyRequests;
    default:
        break;
    }
    switch (serviceCode / 100) {
    case 4:
        return FailureReason::refused;
    case 5:
        return FailureReason::serviceTrouble;
    default:
        return FailureReason::other;
    }
}

FailureReason reasonFor(const AnyError& error) {
    const auto* const connection = errorAs<ConnectionError>(error);
    const auto* const transport =
        connection != nullptr ? &connection->cause : errorAs<TransportError>(error);
    switch (transport != nullptr ? transport->reason : TransportError::Reason::other) {
    case TransportError::Reason::noConnection:
        return FailureReason::offline;
    case TransportError::Reason::timedOut:
        return FailureReason::timedOut;
    case TransportError::Reason::untrustedCertificate:
        return FailureReason::untrustedConnection;
    case TransportError::Reason::connectionLost:
        return FailureReason::connectionLost;
    case TransportError::Reason::other:
        break;
    }
    return FailureReason::other;
}

} // namespace

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

FailureReason WebserviceError::reason() const {
    switch (kind()) {
    case Case::serviceError:
        return reasonFor(std::get<ServiceError>(value_).code);
    case Case::underlyingError:
        return reasonFor(std::get<AnyError>(value_));
    case Case::decodingError:
    case Case::missingData:
    case Case::invalidResponse:
        break;
    }
    return FailureReason::answerNotUnderstood;
}

std::optional<std::int64_t> WebserviceError::serviceCode() const {
    const auto* const refusal = std::get_if<ServiceError>(&value_);
    return refusal != nullptr ? std::optional(refusal->code) : std::nullopt;
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
