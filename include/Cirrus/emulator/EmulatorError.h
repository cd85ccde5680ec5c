#pragma once

#include <string>

namespace cirrus::emulator {

/// Why the emulator could not be started.
struct EmulatorError {
    std::string reason; ///< for developers, in English

    /// The reason.
    [[nodiscard]] std::string diagnosticText() const { return reason; }
};

} // namespace cirrus::emulator
