#pragma once

#include <chrono>
#include <expected>
#include <optional>
#include <string>

#include "Cirrus/platform/Json.h"
#include "emulator/DriveState.h"
#include "emulator/HttpMessage.h"

namespace cirrus::emulator {

/// The permission that a client asks for, or Drive's refusal. `now` is what an expiration has to
/// lie after.
[[nodiscard]] std::expected<Permission, Answer>
readPermission(const JsonValue& body, const std::optional<std::string>& emailMessage,
               std::chrono::system_clock::time_point now);

/// The permission as Drive describes it.
[[nodiscard]] JsonValue permissionResource(const Permission& permission);

} // namespace cirrus::emulator
