#pragma once

#include <string>

namespace cirrus {

/// Why a request got no answer, or only part of one.
struct TransportError {
    enum class Reason { other, noConnection, timedOut, untrustedCertificate, connectionLost };

    Reason reason = Reason::other;
    /// libcurl's error code; 0 if the request was refused before it reached libcurl.
    int code = 0;
    std::string text;

    [[nodiscard]] std::string diagnosticText() const;
};

} // namespace cirrus
