#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>

#include <Cirrus/Error.h>

#include "Cirrus/platform/formats/JsonValue.h"
#include "Cirrus/records/DecodingError.h"

namespace cirrus {

/// What the service says when it refuses a request: its code and its message, out of the "error"
/// envelope of the answer's body.
struct ServiceError {
    enum class ContainerKeys { error };
    enum class ServiceErrorKeys { code, message };
    using CodingKeys = ServiceErrorKeys;

    friend constexpr auto keyTexts(ContainerKeys) {
        return std::to_array<std::string_view>({"error"});
    }

    friend constexpr auto keyTexts(ServiceErrorKeys) {
        return std::to_array<std::string_view>({"code", "message"});
    }

    std::int64_t code = 0;
    std::string message;

    static constexpr auto members() {
        return std::tuple(&ServiceError::code, &ServiceError::message);
    }

    /// Reads it out of its envelope.
    [[nodiscard]] static Result<ServiceError, DecodingError> decode(const JsonValue& json);

    [[nodiscard]] std::string diagnosticText() const {
        return std::to_string(code) + ": " + message;
    }

    /// The service's own message, unchanged; never absent.
    [[nodiscard]] std::optional<std::string> errorDescription() const { return message; }
};

} // namespace cirrus
