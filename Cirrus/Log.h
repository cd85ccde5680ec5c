#pragma once

#include <any>
#include <memory>
#include <source_location>
#include <string>
#include <string_view>
#include <type_traits>

#include <Cirrus/Configuration.h>
#include <Cirrus/Error.h>

#include "Cirrus/platform/files/FileContents.h"

namespace cirrus {

/// The installed sink; null if there is none.
[[nodiscard]] std::shared_ptr<LogSink> installedLog();

/// The operation that writes a line, and where in the source it does. Converts from the
/// operation's name, so that the position is that of the call.
struct CallSite {
    CallSite(const char* operation,
             const std::source_location& location = std::source_location::current())
        : function(operation),
          file(location.file_name()),
          line(static_cast<int>(location.line())) {}

    std::string_view function;
    std::string_view file;
    int line;
};

inline std::string logText(const char* literal) {
    return literal;
}

inline std::string logText(const std::filesystem::path& path) {
    return lastPathComponent(path);
}

std::string logText(const auto& error) {
    return error.diagnosticText();
}

/// Writes a line to the installed sink. The message is given in pieces: literals, errors, and
/// paths, which stand for their last component. They are copied only if there is a sink, and joined
/// only when the sink asks for the text.
void writeLine(auto operation, const CallSite& site, const auto&... pieces) {
    const auto sink = installedLog();
    if (!sink) {
        return;
    }
    const LogSink::Message message = [... copies = std::decay_t<decltype(pieces)>(pieces)] {
        return (std::string() + ... + logText(copies));
    };
    (sink.get()->*operation)(message, site.file, site.function, site.line, std::any());
}

void logDetail(const CallSite& site, const auto&... pieces) {
    writeLine(&LogSink::detail, site, pieces...);
}

void logNotice(const CallSite& site, const auto&... pieces) {
    writeLine(&LogSink::notice, site, pieces...);
}

void logFailure(const CallSite& site, const auto&... pieces) {
    writeLine(&LogSink::failure, site, pieces...);
}

} // namespace cirrus
