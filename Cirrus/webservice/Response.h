#pragma once

#include <string>

#include "Cirrus/platform/UrlSession.h"
#include "Cirrus/webservice/WebserviceError.h"

namespace cirrus {

/// The raw result of a successful exchange.
struct Response {
    /// The body as received; may be empty.
    std::string data;
    /// The header fields; none at all when a name among them is no text.
    HeaderFields headers;
};

/// What the outcome of an exchange means to the service's client. The one place that turns an
/// HTTP outcome into an error.
[[nodiscard]] Result<Response, WebserviceError> classify(TaskOutcome outcome);

} // namespace cirrus
