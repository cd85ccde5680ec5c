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

AnyError transportError(TransportError error) {
    ConnectionError described{std::move(error)};
    return described.errorDescription() ? anyError(std::move(described))
                                        : anyError(std::move(described.cause));
}

HeaderFields textHeaders(HeaderFields headers) {
    const bool areTexts =
        std::ranges::all_of(headers, [](const auto& field) { return isUtf8(field.first); });
    return areTexts ? std::move(headers) : HeaderFields();
}

} // namespace

Result<Response, WebserviceError> classify(HttpOutcome outcome) {
    if (outcome.error) {
        return std::unexpected(
            WebserviceError::underlyingError(transportError(*std::move(outcome.error))));
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
