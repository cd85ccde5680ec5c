#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <Cirrus/Failure.h>
#include <Cirrus/Progress.h>
#include <Cirrus/Url.h>

#include "Cirrus/platform/files/SharedBytes.h"
#include "Cirrus/platform/http/TestServer.h"

namespace cirrus {

/// Names and values, in their order.
using HeaderFields = std::vector<std::pair<std::string, std::string>>;

/// The value of a field; if several have this name, their values joined by ", ".
[[nodiscard]] std::optional<std::string> headerValue(const HeaderFields& fields,
                                                     const std::string& name);

struct HttpRequest {
    Url url;
    std::string method; ///< GET or POST
    HeaderFields headers = {};
    SharedBytes body = {};
    /// The request fails if nothing moves for this long in either direction. Its whole duration is
    /// not limited.
    std::chrono::milliseconds idleLimit = std::chrono::seconds(10);
    std::shared_ptr<const TestServer> server = {}; ///< null: the real network

    [[nodiscard]] std::string_view bodyText() const { return body ? *body : std::string_view(); }
};

/// Why a request must not be sent at all; nullopt if it may. The text quotes no value, since a
/// token may be among them.
[[nodiscard]] std::optional<std::string> reasonNotToSend(const HttpRequest& request);

struct HttpResponse {
    int statusCode = 0;
    HeaderFields headers;

    [[nodiscard]] bool isSuccess() const { return statusCode >= 200 && statusCode <= 299; }
};

/// Why a request got no answer, or only part of one.
struct TransportError {
    /// One of `offline`, `timedOut`, `untrustedConnection`, `connectionLost` and `other`.
    FailureReason reason = FailureReason::other;
    /// libcurl's error code; 0 if it has none that tells.
    int code = 0;
    std::string text;

    [[nodiscard]] std::string diagnosticText() const;
};

/// What became of a request.
struct HttpOutcome {
    /// Absent only if no body can come with the answer (status 204).
    std::optional<std::string> body = {};
    std::optional<HttpResponse> response = {};
    std::optional<TransportError> error = {};
};

/// One request and everything that belongs to it until its completion has run.
struct HttpTransfer {
    HttpRequest request;
    /// Counts the bytes of the body as they are sent; may be null. Finished once the request has
    /// succeeded, before the completion runs. Its observers are called on the session's threads.
    std::shared_ptr<Progress> progress = {};
    std::function<void(HttpOutcome)> completion;
    HttpOutcome outcome = {};
};

} // namespace cirrus
