#include "emulator/drive/Timestamp.h"

#include <charconv>
#include <regex>

namespace cirrus::emulator {

std::optional<std::chrono::sys_seconds> parseTimestamp(const std::string& text) {
    // Not strptime: it takes blanks, signs and single digits, too.
    const std::regex form(R"((\d{4})-(\d\d)-(\d\d)T([01]\d|2[0-3]):([0-5]\d):([0-5]\d)(\.\d{1,9})?)"
                          R"((?:Z|([+-])([01]\d|2[0-3]):?([0-5]\d)))");
    std::smatch parts;
    if (!std::regex_match(text, parts, form)) {
        return std::nullopt;
    }
    const auto number = [&](std::size_t part) {
        int value = 0; // stays 0 for the parts that `Z` does not have
        const std::string digits = parts[part];
        std::from_chars(digits.data(), digits.data() + digits.size(), value);
        return value;
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

} // namespace cirrus::emulator
