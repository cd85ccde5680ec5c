#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <fstream>

#include "Cirrus/Log.h"
#include "tests/support/Host.h"

namespace cirrus::tests {

namespace {

/// Counts how often it is put into words.
struct CountingError {
    int* conversions;

    [[nodiscard]] std::string diagnosticText() const {
        ++*conversions;
        return "words";
    }
};

/// Keeps what it is given to build a message with, without building it.
class LazySink final : public LogSink {
public:
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
    int conversions = 0;
    const auto sink = std::make_shared<LazySink>();
    Configuration::setLog(sink);
    logFailure("step()", "Failed: ", CountingError{&conversions});
    EXPECT_EQ(conversions, 0);
    // Later, and as often as the sink likes.
    EXPECT_EQ(sink->kept(), "Failed: words");
    EXPECT_EQ(sink->kept(), "Failed: words");
    EXPECT_EQ(conversions, 2);
}

TEST(Configuration, ReplacesTheSinkAndLetsTheOldOneGo) {
    const auto first = std::make_shared<RecordingLog>();
    const auto second = std::make_shared<RecordingLog>();
    Configuration::setLog(RecordingLog::sinkFor(first));
    logDetail("one()");
    Configuration::setLog(RecordingLog::sinkFor(second));
    EXPECT_EQ(first.use_count(), 1);
    Configuration::setLog(nullptr);
    logNotice("two()", "text");
    logFailure("three()", "of ", std::filesystem::path("/a/b.txt"));
    EXPECT_EQ(first->lines(), std::vector<std::string>{"configuration_test detail one(): "});
    EXPECT_EQ(second->lines(),
              (std::vector<std::string>{"configuration_test notice two(): text",
                                        "configuration_test failure three(): of b.txt"}));
}

/// Looks a line up where it says that it was written.
void expectAtItsLine(LogLevel level, const LogPlace& place, const std::string& text) {
    constexpr std::array calls{"logDetail(", "logNotice(", "logFailure("};
    std::ifstream source(std::filesystem::path(CIRRUS_SOURCE_FOLDER) / place.file);
    std::string name;
    std::string line;
    for (int read = 0; read < place.line && std::getline(source, line); ++read) {
        const auto start = line.find("name = \"");
        name = start != line.npos ? line.substr(start + 7) : name;
    }
    std::string rest;
    std::getline(source, rest);
    EXPECT_TRUE(line.contains(calls.at(static_cast<std::size_t>(level)))) << place.file << line;
    EXPECT_TRUE((line + name).contains(std::string("\"").append(place.function).append("\"")))
        << line;
    EXPECT_TRUE((line + rest).contains(text.substr(0, 10))) << line << " wrote " << text;
}

TEST(Configuration, NamesTheSourceLineThatWroteEachLineOfAJob) {
    Host host;
    std::atomic<int> count = 0;
    Configuration::setLog(makeLogSink([&count](auto level, const auto& place, const auto& text) {
        ++count;
        expectAtItsLine(level, place, text);
    }));
    const auto controller =
        host.makeController({host.folder().write("one", "first"), host.folder().path() / "none"});
    Host::uploadAndWait(*controller);
    controller->cancel();
    constexpr int linesOfThisJob = 23;
    EXPECT_EQ(count, linesOfThisJob);
    Configuration::setLog(makeLogSink([](auto&&...) {}));
}

} // namespace

} // namespace cirrus::tests
