#pragma once

#include <any>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include <Cirrus/Export.h>

namespace cirrus {

/// The host's logging facility, which gets a running account of every share job. One operation per
/// level, called on whichever thread runs a step, several at once. Must not throw.
///
/// Each operation takes
/// - `message`: makes the text when called; an empty text marks the entry of a step;
/// - `file`: the source file that wrote the line; only its last component has a meaning;
/// - `function`: the name of the operation that wrote the line;
/// - `line`: the line number in that file;
/// - `context`: always empty.
///
/// `file` and `function` stay valid for the life of the process.
class CIRRUS_EXPORT LogSink {
public:
    /// Makes the text of a line, UTF-8 except where a path in it is not. Nothing is computed until
    /// it is called, on any thread, as often as wanted, now or later; may be copied and kept.
    using Message = std::function<std::string()>;

    LogSink() = default;
    LogSink(const LogSink&) = delete;
    LogSink& operator=(const LogSink&) = delete;
    virtual ~LogSink();

    /// Steps that begin and steps that complete.
    virtual void detail(const Message& message, std::string_view file, std::string_view function,
                        int line, const std::any& context) = 0;

    /// The upload of the files stops because it was cancelled.
    virtual void notice(const Message& message, std::string_view file, std::string_view function,
                        int line, const std::any& context) = 0;

    /// Every failure, with its error.
    virtual void failure(const Message& message, std::string_view file, std::string_view function,
                         int line, const std::any& context) = 0;
};

/// Which operation of `LogSink` a line is for.
enum class LogLevel { detail, notice, failure };

/// Where a line was written; see `LogSink`.
struct LogPlace {
    std::string_view file;     ///< only its last component has a meaning
    std::string_view function; ///< the operation that wrote the line
    int line = 0;              ///< in that file
};

/// A sink out of one function, for hosts that want every text. The function is called like the
/// operations of `LogSink`, and must not throw either.
[[nodiscard]] CIRRUS_EXPORT std::shared_ptr<LogSink> makeLogSink(
    std::function<void(LogLevel level, const LogPlace& place, const std::string& text)> function);

/// The one knob of the library.
class CIRRUS_EXPORT Configuration {
public:
    Configuration() = delete;

    /// Makes `sink` take every line from now on, of running jobs too, in place of an earlier one,
    /// and holds it for the life of the process or until it is replaced. Until the first call
    /// nothing is logged and no message is built. A null sink is ignored. Safe from any thread.
    static void setLog(std::shared_ptr<LogSink> sink) noexcept;
};

} // namespace cirrus
