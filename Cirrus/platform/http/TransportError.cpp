#include "Cirrus/platform/http/TransportError.h"

#include <array>
#include <cstddef>
#include <string_view>

namespace cirrus {

std::string TransportError::diagnosticText() const {
    /// In the order of `Reason`.
    constexpr std::array<std::string_view, 5> names{"transportError", "noConnection", "timedOut",
                                                    "untrustedCertificate", "transportError"};
    return std::string(names.at(static_cast<std::size_t>(reason))) + "(" + std::to_string(code) +
           ": " + text + ")";
}

} // namespace cirrus
