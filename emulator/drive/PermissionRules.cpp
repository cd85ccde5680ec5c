#include "emulator/drive/PermissionRules.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <optional>
#include <regex>
#include <span>
#include <string>
#include <string_view>

#include "emulator/Crypto.h"
#include "emulator/drive/DriveError.h"

namespace cirrus::emulator {

namespace {

constexpr std::array<std::string_view, 6> roles{"owner",  "organizer", "fileOrganizer",
                                                "writer", "commenter", "reader"};
constexpr std::array<std::string_view, 4> types{"user", "group", "domain", "anyone"};

/// Reads a date and time with an offset, as in RFC 3339, e.g. `2025-03-05T14:07:09+01:00`. The
/// offset may lack its colon; fractions of a second are dropped. nullopt if the text has another
/// form or names a day that does not exist.
std::optional<std::chrono::sys_seconds> parseTimestamp(const std::string& text) {
    // Not strptime: it takes blanks, signs and single digits, too.
    const std::regex form(R"((\d{4})-(\d\d)-(\d\d)T([01]\d|2[0-3]):([0-5]\d):([0-5]\d)(\.\d{1,9})?)"
                          R"((?:Z|([+-])([01]\d|2[0-3]):?([0-5]\d)))");
    std::smatch parts;
    if (!std::regex_match(text, parts, form)) {
        return std::nullopt;
    }
    const auto number = [&](std::size_t part) { // 0 for the parts that `Z` does not have
        return static_cast<int>(std::strtol(parts.str(part).c_str(), nullptr, 10));
    };
    const std::chrono::year_month_day date(std::chrono::year(number(1)),
                                           std::chrono::month(static_cast<unsigned>(number(2))),
                                           std::chrono::day(static_cast<unsigned>(number(3))));
    if (!date.ok()) {
        return std::nullopt;
    }
    const auto offset = std::chrono::hours(number(9)) + std::chrono::minutes(number(10));
    return std::chrono::sys_days(date) + std::chrono::hours(number(4)) +
           std::chrono::minutes(number(5)) + std::chrono::seconds(number(6)) -
           (parts[8] == "-" ? -offset : offset);
}

std::optional<std::string> textOf(const Json& body, const char* key) {
    return body.contains(key) ? std::optional(body.at(key).get<std::string>()) : std::nullopt;
}

void expectOneOf(std::span<const std::string_view> known, const std::string& value,
                 const std::string& member) {
    if (std::ranges::find(known, value) == known.end()) {
        throw DriveError(400, "invalid",
                         "The specified " + member + " is invalid or not supported.");
    }
}

} // namespace

DrivePermission readPermission(const Json& body, std::chrono::system_clock::time_point now) {
    DrivePermission permission;
    permission.role = body.value("role", "");
    permission.type = body.value("type", "");
    permission.emailAddress = textOf(body, "emailAddress");
    permission.expirationTime = textOf(body, "expirationTime");
    expectOneOf(roles, permission.role, "role");
    expectOneOf(types, permission.type, "type");
    const bool isForPerson = permission.type == "user" || permission.type == "group";
    const bool isForAnyone = permission.type == "anyone";
    if ((isForPerson && permission.emailAddress.value_or("").empty()) ||
        (isForAnyone && permission.emailAddress)) {
        throw DriveError(400, "invalidSharingRequest",
                         "The specified emailAddress is invalid or not applicable for the given "
                         "permission type.");
    }
    if (permission.expirationTime) {
        permission.expiresAt = parseTimestamp(*permission.expirationTime);
        if (!permission.expiresAt) {
            throw DriveError(400, "invalid", "Invalid value for: expirationTime");
        }
        if (!isForPerson) {
            throw DriveError(403, "cannotSetExpiration",
                             "Expiration dates cannot be set on this item.");
        }
        if (*permission.expiresAt <= now) {
            throw DriveError(403, "expirationDateInPast",
                             "The expiration time must be in the future.");
        }
    }
    permission.id = isForAnyone ? "anyoneWithLink" : randomIdentifier(20);
    return permission;
}

} // namespace cirrus::emulator
