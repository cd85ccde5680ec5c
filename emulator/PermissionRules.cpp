#include "emulator/PermissionRules.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "emulator/Crypto.h"
#include "emulator/DriveErrors.h"
#include "emulator/Timestamp.h"

namespace cirrus::emulator {

namespace {

constexpr std::array<std::string_view, 6> roles{"owner",  "organizer", "fileOrganizer",
                                                "writer", "commenter", "reader"};
constexpr std::array<std::string_view, 4> types{"user", "group", "domain", "anyone"};

template <class Range>
bool contains(const Range& range, std::string_view value) {
    return std::ranges::find(range, value) != range.end();
}

bool isForPerson(const Permission& permission) {
    return permission.type == "user" || permission.type == "group";
}

/// The member as text; nothing without it. False in `valid` when it is something else.
std::optional<std::string> textMember(const JsonValue& body, std::string_view name, bool& valid) {
    const JsonValue* member = body.member(name);
    if (member == nullptr || member->isNull()) {
        return std::nullopt;
    }
    const auto* text = member->as<std::string>();
    valid = valid && text != nullptr;
    return text != nullptr ? std::optional(*text) : std::nullopt;
}

std::optional<Answer> refusedAddress(const Permission& permission) {
    const bool given = permission.emailAddress && !permission.emailAddress->empty();
    const bool misplaced = permission.type == "anyone" && permission.emailAddress;
    if (misplaced || (isForPerson(permission) && !given)) {
        return errorAnswer(400, "invalidSharingRequest",
                           "The specified emailAddress is invalid or not applicable for the given "
                           "permission type.");
    }
    return std::nullopt;
}

std::optional<Answer> refusedExpiration(Permission& permission,
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

std::expected<Permission, Answer> readPermission(const JsonValue& body,
                                                 const std::optional<std::string>& emailMessage,
                                                 std::chrono::system_clock::time_point now) {
    bool valid = true;
    Permission permission;
    permission.role = textMember(body, "role", valid).value_or("");
    permission.type = textMember(body, "type", valid).value_or("");
    permission.emailAddress = textMember(body, "emailAddress", valid);
    permission.expirationTime = textMember(body, "expirationTime", valid);
    permission.emailMessage = emailMessage;
    if (!valid) {
        return std::unexpected(parseError());
    }
    if (!contains(roles, permission.role)) {
        return std::unexpected(errorAnswer(400, "invalid",
                                           "The specified role is invalid or not supported.",
                                           {.type = "other", .name = "permission.role"}));
    }
    if (!contains(types, permission.type)) {
        return std::unexpected(errorAnswer(400, "invalid",
                                           "The specified type is invalid or not supported.",
                                           {.type = "other", .name = "permission.type"}));
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

JsonValue permissionResource(const Permission& permission) {
    JsonValue::Object members{{"kind", "drive#permission"},
                              {"id", permission.id},
                              {"type", permission.type},
                              {"role", permission.role}};
    if (permission.type == "anyone") {
        members.emplace_back("allowFileDiscovery", false);
    }
    return members;
}

} // namespace cirrus::emulator
