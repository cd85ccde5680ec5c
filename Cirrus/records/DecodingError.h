#pragma once

#include <string>

namespace cirrus {

/// Why a JSON value is not the expected record.
struct DecodingError {
    /// The key whose value was wrong; empty if it was the value as a whole.
    std::string key;
    std::string reason;

    [[nodiscard]] std::string diagnosticText() const {
        return key.empty() ? reason : "\"" + key + "\": " + reason;
    }
};

} // namespace cirrus
