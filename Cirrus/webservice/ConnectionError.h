#pragma once

#include <optional>
#include <string>

#include "Cirrus/platform/http/TransportError.h"

namespace cirrus {

/// A transport error that the user can do something about, with a text that says what.
struct ConnectionError {
    TransportError cause; ///< its reason is one with a text below

    [[nodiscard]] std::string diagnosticText() const { return cause.diagnosticText(); }

    [[nodiscard]] std::optional<std::string> errorDescription() const;
};

} // namespace cirrus
