#pragma once

#include <any>
#include <filesystem>
#include <memory>
#include <source_location>
#include <string>
#include <string_view>
#include <tuple>

#include "Cirrus/Configuration.h"
#include "Cirrus/platform/Error.h"
#include "Cirrus/platform/FileContents.h"

namespace cirrus {

/// The installed sink; null when there is none.
[[nodiscard]] std::shared_ptr<LogSink> installedLog();

/// The operation that writes a line, made from its name, and where in the source it does.
struct LogPlace {
    LogPlace(const char* operation,
             const std::source_location& location = std::source_location::current())
        : function(operation), line(static_cast<int>(location.line())) {}

    std::string_view function;
    int line;
};

/// Writes the lines of one source unit to the installed sink. A message is given in pieces, texts
/// of static lifetime, errors and paths (which stand for their last component), that are copied
/// only when there is a sink and put together only when the sink asks.
class UnitLog {
public:
    explicit constexpr UnitLog(std::string_view file) : file_(file) {}

    template <class... Pieces>
    void detail(LogPlace place, const Pieces&... pieces) const {
        write(&LogSink::detail, place, pieces...);
    }

    template <class... Pieces>
    void notice(LogPlace place, const Pieces&... pieces) const {
        write(&LogSink::notice, place, pieces...);
    }

    template <class... Pieces>
    void failure(LogPlace place, const Pieces&... pieces) const {
        write(&LogSink::failure, place, pieces...);
    }

private:
    using Operation = void (LogSink::*)(const LogSink::Message&, std::string_view, std::string_view,
                                        int, const std::any&);

    static std::string textOf(const char* literal) { return literal; }

    static std::string textOf(const std::filesystem::path& path) { return lastPathComponent(path); }

    static std::string textOf(const ErrorKind auto& error) { return error.diagnosticText(); }

    template <class... Pieces>
    void write(Operation operation, LogPlace place, const Pieces&... pieces) const {
        const auto sink = installedLog();
        if (!sink) {
            return;
        }
        const LogSink::Message message = [... copies = std::decay_t<const Pieces&>(pieces)] {
            return (std::string() + ... + textOf(copies));
        };
        (sink.get()->*operation)(message, file_, place.function, place.line, std::any());
    }

    std::string_view file_;
};

} // namespace cirrus
