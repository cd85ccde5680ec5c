#pragma once

#include <chrono>
#include <expected>
#include <optional>
#include <string>

#include "emulator/drive/DriveState.h"
#include "emulator/drive/Json.h"
#include <Cirrus/emulator/HttpMessage.h>

namespace cirrus::emulator {

/// The permission that a client asks for, or Drive's refusal. An expiration has to lie after `now`.
/// Throws `Json::exception` if a member has the wrong type.
[[nodiscard]] std::expected<DrivePermission, Answer>
readPermission(const Json& body, const std::optional<std::string>& emailMessage,
               std::chrono::system_clock::time_point now);

/// The permission as Drive describes it.
[[nodiscard]] Json permissionResource(const DrivePermission& permission);

} // namespace cirrus::emulator
