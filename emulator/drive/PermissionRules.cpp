#include "emulator/drive/PermissionRules.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "emulator/Crypto.h"
#include "emulator/drive/DriveErrors.h"
#include "emulator/drive/Timestamp.h"

namespace cirrus::emulator {

namespace {

constexpr std::array<std::string_view, 6> roles{"owner",  "organizer", "fileOrganizer",
                                                "writer", "commenter", "reader"};
constexpr std::array<std::string_view, 4> types{"user", "group", "domain", "anyone"};

template <class Range>
bool contains(const Range& range, std::string_view value) {
    return std::ranges::find(range, value) != range.end();
}

bool isForPerson(const DrivePermission& permission) {
    return permission.type == "user" || permission.type == "group";
}

Answer unknownValue(const std::string& member) {
    return errorAnswer(400, "invalid", "The specified " + member + " is invalid or not supported.",
                       {.type = "other", .name = "permission." + member});
}

std::optional<Answer> refusedAddress(const DrivePermission& permission) {
    const bool given = permission.emailAddress && !permission.emailAddress->empty();
    const bool misplaced = permission.type == "anyone" && permission.emailAddress;
    if (misplaced || (isForPerson(permission) && !given)) {
        return errorAnswer(400, "invalidSharingRequest",
                           "The specified emailAddress is invalid or not applicable for the given "
                           "permission type.");
    }
    return std::nullopt;
}

std::optional<Answer> refusedExpiration(DrivePermission& permission,
                                        std::chrono::system_clock::time_point now) {
    if (!permission.expirationTime) {
        return std::nullopt;
    }
    permission.expiresAt = parseTimestamp(*permission.expirationTime);
    if (!permission.expiresAt) {
        return errorAnswer(400, "invalid", "Invalid value for: expirationTime");
    }
    if (!isForPerson(permission)) {
        return errorAnswer(403, "cannotSetExpiration",
                           "Expiration dates cannot be set on this item.");
    }
    if (*permission.expiresAt <= now) {
        return errorAnswer(403, "expirationDateInPast",
                           "The expiration time must be in the future.");
    }
    return std::nullopt;
}

} // namespace

std::expected<DrivePermission, Answer>
readPermission(const Json& body, const std::optional<std::string>& emailMessage,
               std::chrono::system_clock::time_point now) {
    DrivePermission permission;
    permission.role = memberOf<std::string>(body, "role").value_or("");
    permission.type = memberOf<std::string>(body, "type").value_or("");
    permission.emailAddress = memberOf<std::string>(body, "emailAddress");
    permission.expirationTime = memberOf<std::string>(body, "expirationTime");
    permission.emailMessage = emailMessage;
    if (!contains(roles, permission.role)) {
        return std::unexpected(unknownValue("role"));
    }
    if (!contains(types, permission.type)) {
        return std::unexpected(unknownValue("type"));
    }
    if (auto refusal = refusedAddress(permission)) {
        return std::unexpected(std::move(*refusal));
    }
    if (auto refusal = refusedExpiration(permission, now)) {
        return std::unexpected(std::move(*refusal));
    }
    permission.id = permission.type == "anyone" ? "anyoneWithLink" : randomIdentifier(20);
    return permission;
}

Json permissionResource(const DrivePermission& permission) {
    Json members{{"kind", "drive#permission"},
                 {"id", permission.id},
                 {"type", permission.type},
                 {"role", permission.role}};
    if (permission.type == "anyone") {
        members["allowFileDiscovery"] = false;
    }
    return members;
}

} // namespace cirrus::emulator
