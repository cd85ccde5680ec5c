#pragma once

#include <string>

#include "Cirrus/platform/http/HttpTransfer.h"
#include "Cirrus/webservice/WebserviceError.h"

namespace cirrus {

/// The raw result of a successful request.
struct Response {
    /// The body as received; may be empty.
    std::string data;
    /// The header fields; none at all if the name of one of them is not text.
    HeaderFields headers;
};

/// What the outcome of a request means to the service's client. The one place that turns an HTTP
/// outcome into an error.
[[nodiscard]] Result<Response, WebserviceError> classify(HttpOutcome outcome);

} // namespace cirrus
