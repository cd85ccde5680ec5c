#pragma once

#include <chrono>
#include <string>

namespace cirrus {

/// A point in time as local date and time of the system's time zone at the moment of the call,
/// with the zone's offset and without the fraction of its second, whatever the locale: for
/// example 2025-03-05T14:07:09+0100.
[[nodiscard]] std::string formatLocalTime(std::chrono::system_clock::time_point time);

} // namespace cirrus
