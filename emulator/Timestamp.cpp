#include "emulator/Timestamp.h"

#include <cstddef>

namespace cirrus::emulator {

namespace {

bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

/// Reads a text from the front; remembers that something did not fit.
class Scanner {
public:
    explicit Scanner(std::string_view text) : rest_(text) {}

    [[nodiscard]] bool atEnd() const { return rest_.empty(); }

    [[nodiscard]] bool failed() const { return failed_; }

    bool skip(char character) {
        const bool found = rest_.starts_with(character);
        rest_.remove_prefix(found ? 1 : 0);
        return found;
    }

    void expect(char character) { failed_ |= !skip(character); }

    int number(std::size_t digits, int highest) {
        int value = 0;
        for (std::size_t count = 0; count < digits; ++count) {
            if (rest_.empty() || !isDigit(rest_.front())) {
                failed_ = true;
                return 0;
            }
            value = value * 10 + (rest_.front() - '0');
            rest_.remove_prefix(1);
        }
        failed_ |= value > highest;
        return value;
    }

    void skipFraction() {
        if (skip('.')) {
            number(1, 9);
            while (!rest_.empty() && isDigit(rest_.front())) {
                rest_.remove_prefix(1);
            }
        }
    }

private:
    std::string_view rest_;
    bool failed_ = false;
};

std::chrono::minutes readOffset(Scanner& scanner) {
    if (scanner.skip('Z')) {
        return std::chrono::minutes(0);
    }
    const bool west = scanner.skip('-');
    if (!west) {
        scanner.expect('+');
    }
    const std::chrono::hours hours(scanner.number(2, 23));
    scanner.skip(':');
    const std::chrono::minutes offset = hours + std::chrono::minutes(scanner.number(2, 59));
    return west ? -offset : offset;
}

} // namespace

std::optional<std::chrono::sys_seconds> parseTimestamp(std::string_view text) {
    Scanner scanner(text);
    const std::chrono::year year(scanner.number(4, 9999));
    scanner.expect('-');
    const std::chrono::month month(static_cast<unsigned>(scanner.number(2, 12)));
    scanner.expect('-');
    const std::chrono::day day(static_cast<unsigned>(scanner.number(2, 31)));
    scanner.expect('T');
    const std::chrono::hours hours(scanner.number(2, 23));
    scanner.expect(':');
    const std::chrono::minutes minutes(scanner.number(2, 59));
    scanner.expect(':');
    const std::chrono::seconds seconds(scanner.number(2, 59));
    scanner.skipFraction();
    const std::chrono::minutes offset = readOffset(scanner);
    const std::chrono::year_month_day date(year, month, day);
    if (scanner.failed() || !scanner.atEnd() || !date.ok()) {
        return std::nullopt;
    }
    return std::chrono::sys_days(date) + hours + minutes + seconds - offset;
}

} // namespace cirrus::emulator
