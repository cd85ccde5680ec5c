#pragma once

#include <Cirrus/Cirrus.h>

#include <mutex>
#include <string>
#include <string_view>

/// Standard error, for a progress and for lines, from any thread. On a terminal the progress is a
/// bar that stays below the lines, else a line for each tenth.
class Terminal {
public:
    void showProgress(double fraction);

    /// Writes a line. What could command the terminal in `text` is shown, not sent.
    void writeLine(std::string_view text);

    /// Leaves the line of the bar for good.
    void endProgress();

private:
    void drawBar() const;

    std::mutex mutex_;
    double fraction_ = 0;
    int shown_ = -1; ///< percent; negative while there is no bar
};

/// The text with "\xNN" in place of control characters and of what is not UTF-8.
std::string visible(std::string_view text);

/// Every line of the library's account, with time and thread.
std::shared_ptr<cirrus::LogSink> makeLog(Terminal& terminal);
