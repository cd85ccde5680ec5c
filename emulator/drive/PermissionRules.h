#pragma once

#include <chrono>

#include "emulator/drive/DriveState.h"
#include "emulator/drive/Json.h"

namespace cirrus::emulator {

/// The permission that a client asks for. An expiration has to lie after `now`. Throws `DriveError`
/// if Drive refuses it, and `Json::exception` if a member has the wrong type.
[[nodiscard]] DrivePermission readPermission(const Json& body,
                                             std::chrono::system_clock::time_point now);

} // namespace cirrus::emulator
