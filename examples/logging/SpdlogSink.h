#pragma once

#include <Cirrus/Cirrus.h>
#include <spdlog/spdlog.h>

#include <memory>
#include <string>
#include <utility>

/// Hands every line of the library to a logger of spdlog, with its unit, line and function as
/// spdlog's source location (%s, %#, %!). A message is built only when the logger takes its level.
class SpdlogSink final : public cirrus::LogSink {
public:
    explicit SpdlogSink(std::shared_ptr<spdlog::logger> logger) : logger_(std::move(logger)) {}

    void detail(const Message& message, std::string_view file, std::string_view function, int line,
                const std::any&) override {
        write(spdlog::level::debug, message, file, function, line);
    }

    void notice(const Message& message, std::string_view file, std::string_view function, int line,
                const std::any&) override {
        write(spdlog::level::info, message, file, function, line);
    }

    void failure(const Message& message, std::string_view file, std::string_view function, int line,
                 const std::any&) override {
        write(spdlog::level::err, message, file, function, line);
    }

private:
    void write(spdlog::level::level_enum level, const Message& message, std::string_view file,
               std::string_view function, int line) {
        if (!logger_->should_log(level)) {
            return;
        }
        // spdlog wants zero-terminated texts, and a loss of memory must not leave a sink.
        try {
            const std::string unit(file);
            const std::string operation(function);
            const std::string text = message();
            logger_->log({unit.c_str(), line, operation.c_str()}, level,
                         text.empty() ? std::string_view("begins") : std::string_view(text));
        } catch (...) {
            return;
        }
    }

    std::shared_ptr<spdlog::logger> logger_;
};
