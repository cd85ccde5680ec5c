#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>

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

    static constexpr auto members() {
        return std::tuple(&Permission::kind, &Permission::identifier, &Permission::type,
                          &Permission::role, &Permission::allowFileDiscovery);
    }
};

} // namespace cirrus
