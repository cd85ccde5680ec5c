#include <gtest/gtest.h>

#include <array>
#include <atomic>

#include "Cirrus/Log.h"
#include "tests/support/Host.h"

namespace cirrus::tests {

namespace {

constexpr std::array calls{"logDetail(", "logNotice(", "logFailure("};

/// Keeps what it is given to build a message with, without building it.
struct LazySink final : LogSink {
    void detail(const Message&, std::string_view, std::string_view, int, const std::any&) override {
    }

    void notice(const Message&, std::string_view, std::string_view, int, const std::any&) override {
    }

    void failure(const Message& message, std::string_view, std::string_view, int,
                 const std::any& context) override {
        EXPECT_FALSE(context.has_value());
        kept = message;
    }

    Message kept;
};

TEST(Configuration, BuildsAMessageOnlyWhenTheSinkAsks) {
    struct CountingError {
        [[nodiscard]] std::string diagnosticText() const { return std::to_string(++*count); }

        int* count;
    };

    int count = 0;
    const auto sink = std::make_shared<LazySink>();
    Configuration::setLog(sink);
    logFailure("step()", "Failed: ", CountingError{&count});
    EXPECT_EQ(count, 0);
    // Later, and as often as the sink likes.
    EXPECT_EQ(sink->kept(), "Failed: 1");
    EXPECT_EQ(sink->kept(), "Failed: 2");
}

TEST(Configuration, ReplacesTheSinkAndLetsTheOldOneGo) {
    // Neither called nor destroyed under a lock of ours, so each may use the log itself.
    std::shared_ptr<void> held(nullptr, [](auto) { logDetail("gone()"); });
    Configuration::setLog(makeLogSink([&held](auto&&...) {
        Configuration::setLog(makeLogSink([held = std::move(held)](auto&&...) {}));
    }));
    logDetail("one()");
    const auto log = std::make_shared<RecordingLog>();
    Configuration::setLog(RecordingLog::sinkFor(log));
    Configuration::setLog(nullptr);
    logNotice("two()", "text");
    logFailure("three()", "of ", std::filesystem::path("/a/b.txt"));
    EXPECT_EQ(log->lines(),
              (std::vector<std::string>{
                  "configuration_test detail gone(): ", "configuration_test notice two(): text",
                  "configuration_test failure three(): of b.txt"}));
}

TEST(Configuration, NamesTheSourceLineThatWroteEachLineOfAJob) {
    Host host;
    std::atomic<int> count = 0;
    Configuration::setLog(makeLogSink([&count](auto level, const auto& place, const auto& text) {
        std::ifstream source(std::filesystem::path(CIRRUS_SOURCE_FOLDER) / place.file);
        std::string line;
        for (int read = 0; read < place.line; ++read) {
            std::getline(source, line);
        }
        std::string next;
        std::getline(source, next);
        EXPECT_TRUE(line.contains(calls.at(static_cast<std::size_t>(level)))) << line;
        EXPECT_TRUE((line + next).contains(text.substr(0, 10))) << line << " wrote " << text;
        ++count;
    }));
    const auto controller =
        host.makeController({host.folder().write("one", "first"), host.folder().path() / "none"});
    Host::uploadAndWait(*controller);
    controller->cancel();
    EXPECT_EQ(count, 23);
    Configuration::setLog(makeLogSink([](auto&&...) {}));
}

} // namespace

} // namespace cirrus::tests
