#pragma once

#include <Cirrus/Cirrus.h>

#include <any>
#include <mutex>
#include <string_view>

/// The progress on standard error: one bar on a terminal, else a line for each tenth.
class ProgressBar {
public:
    ProgressBar();

    void show(double fraction);

    /// Leaves the line of the bar.
    void close();

private:
    bool isTerminal_;
    int shown_ = -1;
};

/// Every line of the library's account on standard error.
class StderrLog final : public cirrus::LogSink {
public:
    void detail(const Message& message, std::string_view file, std::string_view function, int line,
                const std::any& context) override;
    void notice(const Message& message, std::string_view file, std::string_view function, int line,
                const std::any& context) override;
    void failure(const Message& message, std::string_view file, std::string_view function, int line,
                 const std::any& context) override;

private:
    void write(std::string_view level, const Message& message, std::string_view function);

    std::mutex mutex_;
};

/// Ctrl-C as something to poll for. Made before any thread is, so that all of them leave the
/// signal to it.
class Interrupt {
public:
    Interrupt();
    Interrupt(const Interrupt&) = delete;
    Interrupt& operator=(const Interrupt&) = delete;
    ~Interrupt();

    /// Waits for tasks on the main queue and runs them; false when interrupted instead.
    bool runMainQueue();

private:
    int descriptor_;
};
