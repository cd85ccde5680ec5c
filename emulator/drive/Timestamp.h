#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace cirrus::emulator {

/// Reads a date and time with an offset, as in RFC 3339, e.g. `2025-03-05T14:07:09+01:00`. The
/// offset may lack its colon; fractions of a second are dropped. nullopt if the text has another
/// form or names a day that does not exist.
[[nodiscard]] std::optional<std::chrono::sys_seconds> parseTimestamp(const std::string& text);

} // namespace cirrus::emulator
