#include "Cirrus/webservice/WebserviceError.h"

#include <array>

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
    return transport != nullptr ? transport->reason : FailureReason::other;
}

} // namespace

std::string WebserviceError::diagnosticText() const {
    /// In the order of `Case`.
    constexpr std::array names{"serviceError", "decodingError", "underlyingError", "missingData",
                               "invalidResponse"};
    return caseText(names.at(static_cast<std::size_t>(kind_)), carried_);
}

std::optional<std::string> WebserviceError::errorDescription() const {
    if (kind_ == Case::serviceError && carried_) {
        return carried_->errorDescription();
    }
    if (kind_ == Case::underlyingError && carried_) {
        return carried_->held().errorDescription("Something went wrong. Please try again.");
    }
    return "Could not read the response from Google. Please try again.";
}

FailureReason WebserviceError::reason() const {
    if (const auto code = serviceCode()) {
        return reasonFor(*code);
    }
    return kind_ == Case::underlyingError && carried_ ? reasonFor(*carried_)
                                                      : FailureReason::answerNotUnderstood;
}

std::optional<std::int64_t> WebserviceError::serviceCode() const {
    const auto* const refusal = carried_ ? errorAs<ServiceError>(*carried_) : nullptr;
    return refusal != nullptr ? std::optional(refusal->code) : std::nullopt;
}

FailureReason reasonOf(const AnyError& error) {
    const auto* const known = errorAs<WebserviceError>(error);
    return known != nullptr ? known->reason() : FailureReason::other;
}

std::optional<std::int64_t> serviceCodeOf(const AnyError& error) {
    const auto* const known = errorAs<WebserviceError>(error);
    return known != nullptr ? known->serviceCode() : std::nullopt;
}

} // namespace cirrus
