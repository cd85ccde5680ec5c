#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include <Cirrus/Error.h>

#include "Cirrus/platform/formats/JsonValue.h"
#include "Cirrus/records/CodingKey.h"
#include "Cirrus/records/DecodingError.h"

namespace cirrus {

/// A permission resource of Drive: the answer of a grant.
struct Permission {
    enum class CodingKeys { kind, identifier, type, role, allowFileDiscovery };

    friend constexpr auto keyTexts(CodingKeys) {
        return std::to_array<std::string_view>(
            {"kind", "id", "type", "role", "allowFileDiscovery"});
    }

    std::string kind;
    std::string identifier;
    std::string type;
    std::string role;
    std::optional<bool> allowFileDiscovery;

    [[nodiscard]] static Result<Permission, DecodingError> decode(const JsonValue& json);

    /// The mirror of `decode`; an absent `allowFileDiscovery` has no key.
    [[nodiscard]] JsonValue encode() const;
};

} // namespace cirrus
