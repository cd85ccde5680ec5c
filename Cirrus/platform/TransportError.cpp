#include "Cirrus/platform/TransportError.h"

#include <array>
#include <string_view>

namespace cirrus {

namespace {

struct ReasonTexts {
    std::string_view name;
    std::string_view description;
};

/// In the order of `ConnectionError::Reason`.
constexpr std::array<ReasonTexts, 3> reasons{{
    {.name = "noConnection",
     .description = "Could not connect to Google. Check your internet connection and try again."},
    {.name = "timedOut",
     .description = "Google did not answer in time. Check your internet connection and try again."},
    {.name = "untrustedCertificate",
     .description = "The connection to Google is not secure: the server's certificate is not "
                    "trusted. Check your "
                    "network and the date of this computer."},
}};

const ReasonTexts& textsOf(ConnectionError::Reason reason) {
    return reasons.at(static_cast<std::size_t>(reason));
}

std::string withCode(std::string_view name, int code, const std::string& text) {
    return std::string(name) + "(" + std::to_string(code) + ": " + text + ")";
}

} // namespace

std::string TransportError::diagnosticText() const {
    return withCode("transportError", code, text);
}

std::string ConnectionError::diagnosticText() const {
    return withCode(textsOf(reason).name, code, text);
}

std::optional<std::string> ConnectionError::errorDescription() const {
    return std::string(textsOf(reason).description);
}

} // namespace cirrus
