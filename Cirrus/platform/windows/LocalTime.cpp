#include "Cirrus/platform/formats/LocalTime.h"

#include <windows.h>

#include <array>
#include <cstdio>
#include <cstdlib>

namespace cirrus {

namespace {

std::int64_t ticksIn(const FILETIME& time) {
    return static_cast<std::int64_t>(std::uint64_t{time.dwHighDateTime} << 32U |
                                     time.dwLowDateTime);
}

} // namespace

std::string formatLocalTime(std::chrono::system_clock::time_point time) {
    // Not strftime, whose "%z" is the zone's name here. Windows counts tenths of microseconds from
    // the year 1601 on.
    using Ticks = std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>;
    constexpr std::chrono::sys_days epoch = std::chrono::year(1601) / 1 / 1;
    const Ticks ticks = std::chrono::floor<std::chrono::seconds>(time) - epoch;
    const auto count = static_cast<std::uint64_t>(ticks.count());
    const FILETIME fileTime{.dwLowDateTime = static_cast<DWORD>(count),
                            .dwHighDateTime = static_cast<DWORD>(count >> 32U)};
    SYSTEMTIME universal{};
    SYSTEMTIME local{};
    FILETIME localFileTime{};
    ::FileTimeToSystemTime(&fileTime, &universal);
    // By the rules of today; Wine lacks the call that knows those of other years.
    ::SystemTimeToTzSpecificLocalTime(nullptr, &universal, &local);
    ::SystemTimeToFileTime(&local, &localFileTime);
    const auto offset =
        std::chrono::duration_cast<std::chrono::minutes>(Ticks(ticksIn(localFileTime)) - ticks);
    const auto minutes = std::abs(offset.count());
    std::array<char, 64> text{};
    const int length =
        std::snprintf(text.data(), text.size(), "%04d-%02d-%02dT%02d:%02d:%02d%c%02d%02d",
                      local.wYear, local.wMonth, local.wDay, local.wHour, local.wMinute,
                      local.wSecond, offset.count() < 0 ? '-' : '+', static_cast<int>(minutes / 60),
                      static_cast<int>(minutes % 60));
    return {text.data(), static_cast<std::size_t>(length)};
}

} // namespace cirrus
