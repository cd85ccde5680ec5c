#include "Cirrus/platform/formats/LocalTime.h"

#include <windows.h>

#include <array>
#include <cstdio>
#include <cstdlib>

namespace cirrus {

std::string formatLocalTime(std::chrono::system_clock::time_point time) {
    using namespace std::chrono;

    // Not strftime, whose "%z" is the zone's name here. Windows counts tenths of microseconds from
    // the year 1601 on.
    using Ticks = duration<std::int64_t, std::ratio<1, 10'000'000>>;
    const auto moment = floor<seconds>(time);
    const auto ticks = Ticks(moment - sys_days(1601y / 1 / 1)).count();
    const FILETIME fileTime{.dwLowDateTime = static_cast<DWORD>(ticks),
                            .dwHighDateTime = static_cast<DWORD>(ticks >> 32)};
    SYSTEMTIME universal{};
    SYSTEMTIME local{};
    ::FileTimeToSystemTime(&fileTime, &universal);
    // By the rules of today; Wine lacks the call that knows those of other years.
    ::SystemTimeToTzSpecificLocalTime(nullptr, &universal, &local);
    const auto offset = duration_cast<minutes>(
        sys_days(year(local.wYear) / local.wMonth / local.wDay) + hours(local.wHour) +
        minutes(local.wMinute) + seconds(local.wSecond) - moment);
    const auto distance = std::abs(offset.count());
    std::array<char, 64> text{};
    const int length =
        std::snprintf(text.data(), text.size(), "%04d-%02d-%02dT%02d:%02d:%02d%c%02d%02d",
                      local.wYear, local.wMonth, local.wDay, local.wHour, local.wMinute,
                      local.wSecond, offset.count() < 0 ? '-' : '+',
                      static_cast<int>(distance / 60), static_cast<int>(distance % 60));
    return {text.data(), static_cast<std::size_t>(length)};
}

} // namespace cirrus
