#include "Terminal.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <ctime>
#include <iomanip>
#include <iostream>
#include <sstream>
#include <thread>

#include "Console.h"

namespace {

/// How many bytes the UTF-8 sequence at the front has; 0 if there is none.
std::size_t sequenceLength(std::string_view text) {
    const auto lead = static_cast<unsigned char>(text.front());
    if (lead < 0x80) {
        return 1;
    }
    if (lead < 0xC2 || lead > 0xF4) {
        return 0;
    }
    const std::size_t length = 2 + (lead >= 0xE0 ? 1 : 0) + (lead >= 0xF0 ? 1 : 0);
    const auto rest = text.substr(1, length - 1);
    const bool isWhole = rest.size() + 1 == length && std::ranges::all_of(rest, [](char one) {
                             return (static_cast<unsigned char>(one) & 0xC0U) == 0x80;
                         });
    return isWhole ? length : 0;
}

bool isControl(std::string_view sequence) {
    const auto lead = static_cast<unsigned char>(sequence.front());
    const bool isSecondSet = lead == 0xC2 && static_cast<unsigned char>(sequence.back()) < 0xA0;
    return lead < 0x20 || lead == 0x7F || isSecondSet;
}

/// The local time of day, to the millisecond, and the thread.
std::string timeAndThread() {
    const auto now = std::chrono::system_clock::now();
    const auto seconds = std::chrono::floor<std::chrono::seconds>(now);
    const auto milliseconds =
        std::chrono::duration_cast<std::chrono::milliseconds>(now - seconds).count();
    const std::time_t time = std::chrono::system_clock::to_time_t(seconds);
    const auto local = localTime(time);
    std::ostringstream text;
    text << std::put_time(&local, "%H:%M:%S") << '.' << std::setfill('0') << std::setw(3)
         << milliseconds << ' ' << std::this_thread::get_id();
    return text.str();
}

} // namespace

std::string visible(std::string_view text) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string result;
    while (!text.empty()) {
        const auto length = sequenceLength(text);
        const auto front = text.substr(0, std::max<std::size_t>(length, 1));
        text.remove_prefix(front.size());
        if (length > 0 && !isControl(front)) {
            result += front;
            continue;
        }
        for (const char one : front) {
            const auto byte = static_cast<unsigned char>(one);
            result += {'\\', 'x', digits[byte >> 4U], digits[byte & 0xFU]};
        }
    }
    return result;
}

void Terminal::showProgress(double fraction) {
    const std::scoped_lock lock(mutex_);
    const int percent = static_cast<int>(fraction * 100);
    const int step = columns() > 0 ? percent : percent / 10 * 10;
    if (step == shown_) {
        return;
    }
    fraction_ = fraction;
    shown_ = step;
    if (columns() > 0) {
        drawBar();
    } else {
        std::cerr << std::to_string(step) + " %\n";
    }
}

void Terminal::writeLine(std::string_view text) {
    constexpr auto clearLine = "\r\x1b[K";
    const std::scoped_lock lock(mutex_);
    const bool hasBar = shown_ >= 0 && columns() > 0;
    std::cerr << (hasBar ? clearLine : "") + visible(text) + "\n";
    if (hasBar) {
        drawBar();
    }
}

void Terminal::endProgress() {
    const std::scoped_lock lock(mutex_);
    if (shown_ >= 0 && columns() > 0) {
        std::cerr << '\n';
    }
    shown_ = -1;
}

/// With the lock held.
void Terminal::drawBar() const {
    constexpr std::size_t beside = 10; // brackets, blanks and the number
    const std::size_t width = std::clamp<std::size_t>(columns(), beside, 100) - beside;
    const auto filled = static_cast<std::size_t>(fraction_ * static_cast<double>(width));
    std::cerr << "\r[" + std::string(filled, '#') + std::string(width - filled, '.') + "] " +
                     std::to_string(shown_) + " %"
              << std::flush;
}

std::shared_ptr<cirrus::LogSink> makeLog(Terminal& terminal) {
    return cirrus::makeLogSink([&terminal](cirrus::LogLevel level, const cirrus::LogPlace& place,
                                           const std::string& text) {
        constexpr std::array levels{" detail ", " notice ", " failure "};
        terminal.writeLine(timeAndThread() + levels.at(static_cast<std::size_t>(level)) +
                           std::string(place.function) + (text.empty() ? "" : ": ") + text);
    });
}
