#include "Cirrus/platform/formats/LocalTime.h"

#include <array>
#include <ctime>

namespace cirrus {

std::string formatLocalTime(std::chrono::system_clock::time_point time) {
    // Rounding down, not towards zero: the fraction is cut before 1970 too.
    const auto seconds =
        std::chrono::system_clock::to_time_t(std::chrono::floor<std::chrono::seconds>(time));
    std::tm local{};
    // localtime_r need not notice a changed zone by itself.
    ::tzset();
    static_cast<void>(::localtime_r(&seconds, &local));
    std::array<char, 64> text{};
    const auto length = std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S%z", &local);
    return {text.data(), length};
}

} // namespace cirrus
