#include <Cirrus/Configuration.h>

#include <mutex>
#include <utility>

#include "Cirrus/Log.h"
#include "Cirrus/platform/threads/Process.h"

namespace cirrus {

namespace {

/// Never destroyed: a line may be written while the process ends.
struct Slot {
    std::mutex mutex;
    std::shared_ptr<LogSink> sink;
};

Slot& slot() {
    static auto* const instance = new Slot;
    return *instance;
}

class FunctionSink final : public LogSink {
public:
    using Function = std::function<void(LogLevel, const LogPlace&, const std::string&)>;

    explicit FunctionSink(Function function) : function_(std::move(function)) {}

    void detail(const Message& message, std::string_view file, std::string_view function, int line,
                const std::any&) override {
        function_(LogLevel::detail, {file, function, line}, message());
    }

    void notice(const Message& message, std::string_view file, std::string_view function, int line,
                const std::any&) override {
        function_(LogLevel::notice, {file, function, line}, message());
    }

    void failure(const Message& message, std::string_view file, std::string_view function, int line,
                 const std::any&) override {
        function_(LogLevel::failure, {file, function, line}, message());
    }

private:
    const Function function_;
};

} // namespace

std::shared_ptr<LogSink>
makeLogSink(std::function<void(LogLevel, const LogPlace&, const std::string&)> function) {
    return std::make_shared<FunctionSink>(std::move(function));
}

LogSink::~LogSink() = default;

void Configuration::setLog(std::shared_ptr<LogSink> sink) noexcept {
    if (!sink) {
        return;
    }
    // The replaced sink is released after the lock, since its destructor is the host's code.
    const std::scoped_lock lock(slot().mutex);
    slot().sink.swap(sink);
}

std::shared_ptr<LogSink> installedLog() {
    if (!mayCallHost()) {
        return nullptr;
    }
    const std::scoped_lock lock(slot().mutex);
    return slot().sink;
}

} // namespace cirrus
