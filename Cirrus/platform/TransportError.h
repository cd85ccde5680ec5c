#pragma once

#include <optional>
#include <string>

namespace cirrus {

/// An exchange that failed for a reason that means nothing to a user. Keeps the transport's own
/// code and text; the code is 0 when the request was refused before it reached the transport.
struct TransportError {
    int code = 0;
    std::string text;

    [[nodiscard]] std::string diagnosticText() const;
};

/// An exchange that failed for a reason that a user can act on.
struct ConnectionError {
    enum class Reason { noConnection, timedOut, untrustedCertificate };

    Reason reason = Reason::noConnection;
    int code = 0;
    std::string text;

    [[nodiscard]] std::string diagnosticText() const;
    [[nodiscard]] std::optional<std::string> errorDescription() const;
};

} // namespace cirrus
