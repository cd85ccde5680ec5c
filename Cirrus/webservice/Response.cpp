#include "Cirrus/webservice/Response.h"

#include <algorithm>
#include <utility>

#include "Cirrus/platform/Json.h"

namespace cirrus {

namespace {

bool isSuccess(int statusCode) {
    return statusCode >= 200 && statusCode <= 299;
}

/// The service's own words when the body is its error envelope.
WebserviceError refusal(const std::string& body) {
    if (auto json = parseJson(body)) {
        if (auto error = ServiceError::decode(*std::move(json))) {
            return WebserviceError::serviceError(*std::move(error));
        }
    }
    return WebserviceError::invalidResponse();
}

bool isText(std::string_view headerName) {
    return std::ranges::all_of(headerName,
                               [](char character) { return character > ' ' && character < 0x7F; });
}

HeaderFields textHeaders(HeaderFields headers) {
    const bool areTexts =
        std::ranges::all_of(headers, [](const auto& field) { return isText(field.first); });
    return areTexts ? std::move(headers) : HeaderFields();
}

} // namespace

Result<Response, WebserviceError> classify(TaskOutcome outcome) {
    if (outcome.error) {
        return std::unexpected(WebserviceError::underlyingError(*std::move(outcome.error)));
    }
    if (!outcome.response) {
        return std::unexpected(WebserviceError::invalidResponse());
    }
    if (isSuccess(outcome.response->statusCode)) {
        if (!outcome.body) {
            return std::unexpected(WebserviceError::missingData());
        }
        return Response{.data = *std::move(outcome.body),
                        .headers = textHeaders(std::move(outcome.response->headers))};
    }
    if (!outcome.body) {
        return std::unexpected(WebserviceError::invalidResponse());
    }
    return std::unexpected(refusal(*outcome.body));
}

} // namespace cirrus
