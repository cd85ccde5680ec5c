#pragma once

#include <chrono>
#include <optional>
#include <string_view>

namespace cirrus::emulator {

/// The point in time that an RFC 3339 date and time with an offset names, to the second. The
/// offset may lack its colon (`2025-03-05T14:07:09+0100`). Nothing when it is no such text.
[[nodiscard]] std::optional<std::chrono::sys_seconds> parseTimestamp(std::string_view text);

} // namespace cirrus::emulator
