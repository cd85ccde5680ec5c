#include "Cirrus/webservice/Response.h"

#include <algorithm>
#include <utility>

#include "Cirrus/platform/formats/Json.h"

namespace cirrus {

namespace {

/// The service's own error if the body is its error envelope.
WebserviceError serviceErrorIn(const std::string& body) {
    if (auto json = parseJson(body)) {
        if (auto error = ServiceError::decode(*json)) {
            return WebserviceError::serviceError(*std::move(error));
        }
    }
    return WebserviceError::invalidResponse();
}

/// What a user can do about an error of the transport.
std::optional<std::string> textFor(FailureReason reason) {
    switch (reason) {
    case FailureReason::offline:
        return "Could not connect to Google. Check your internet connection and try again.";
    case FailureReason::timedOut:
        return "Google did not answer in time. Check your internet connection and try again.";
    case FailureReason::untrustedConnection:
        return "The connection to Google is not secure: the server's certificate is not trusted. "
               "Check your network and the date of this computer.";
    default:
        return std::nullopt;
    }
}

HeaderFields textHeaders(HeaderFields headers) {
    const bool areTexts =
        std::ranges::all_of(headers, [](const auto& field) { return isUtf8(field.first); });
    return areTexts ? std::move(headers) : HeaderFields();
}

} // namespace

Result<Response, WebserviceError> classify(HttpOutcome outcome) {
    if (outcome.error) {
        const auto text = textFor(outcome.error->reason);
        return std::unexpected(WebserviceError::underlyingError(
            text ? anyError(ConnectionError{*std::move(outcome.error), *text})
                 : anyError(*std::move(outcome.error))));
    }
    if (!outcome.response) {
        return std::unexpected(WebserviceError::invalidResponse());
    }
    if (outcome.response->isSuccess()) {
        if (!outcome.body) {
            return std::unexpected(WebserviceError::missingData());
        }
        return Response{.data = *std::move(outcome.body),
                        .headers = textHeaders(std::move(outcome.response->headers))};
    }
    return std::unexpected(serviceErrorIn(outcome.body.value_or("")));
}

} // namespace cirrus
