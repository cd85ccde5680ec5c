#include <gtest/gtest.h>

#include <atomic>
#include <fstream>

#include "Cirrus/Log.h"
#include "tests/support/Host.h"

namespace cirrus::tests {

namespace {

/// Counts how often it is put into words, and how often it is copied.
struct CountingError {
    int* conversions;
    int* copies;

    CountingError(int* conversionCount, int* copyCount)
        : conversions(conversionCount), copies(copyCount) {}

    CountingError(const CountingError& other)
        : conversions(other.conversions), copies(other.copies) {
        ++*copies;
    }

    CountingError& operator=(const CountingError&) = delete;
    ~CountingError() = default;

    [[nodiscard]] std::string diagnosticText() const {
        ++*conversions;
        return "words";
    }
};

/// Keeps what it is given to build messages with, without building any.
class LazySink final : public LogSink {
public:
    void detail(const Message& message, std::string_view, std::string_view, int,
                const std::any&) override {
        messages.push_back(message);
    }

    void notice(const Message& message, std::string_view, std::string_view, int,
                const std::any&) override {
        messages.push_back(message);
    }

    void failure(const Message& message, std::string_view, std::string_view, int,
                 const std::any&) override {
        messages.push_back(message);
    }

    std::vector<Message> messages;
};

TEST(Configuration, BuildsAMessageOnlyWhenTheSinkAsks) {
    int conversions = 0;
    int copies = 0;
    const CountingError error(&conversions, &copies);
    if (!installedLog()) {
        logFailure("step()", "Failed: ", error);
        EXPECT_EQ(copies, 0);
    }
    const auto sink = std::make_shared<LazySink>();
    Configuration::setLog(sink);
    logFailure("step()", "Failed: ", error);
    EXPECT_EQ(conversions, 0);
    // Later, and as often as the sink likes.
    EXPECT_EQ(sink->messages.at(0)(), "Failed: words");
    EXPECT_EQ(sink->messages.at(0)(), "Failed: words");
    EXPECT_EQ(conversions, 2);
}

TEST(Configuration, ReplacesTheSinkAndLetsTheOldOneGo) {
    auto first = std::make_shared<RecordingLog>();
    const auto second = std::make_shared<RecordingLog>();
    Configuration::setLog(first);
    logDetail("one()");
    Configuration::setLog(second);
    EXPECT_EQ(first.use_count(), 1);
    Configuration::setLog(nullptr);
    logNotice("two()", "text");
    logFailure("three()", "of ", std::filesystem::path("/a/b.txt"));
    EXPECT_EQ(first->lines(), std::vector<std::string>{"configuration_test detail one(): "});
    EXPECT_EQ(second->lines(),
              (std::vector<std::string>{"configuration_test notice two(): text",
                                        "configuration_test failure three(): of b.txt"}));
}

/// Looks up each line where it says that it was written.
class SourceReader final : public LogSink {
public:
    void detail(const Message& message, std::string_view file, std::string_view function, int line,
                const std::any& context) override {
        check("logDetail(", message, file, function, line, context);
    }

    void notice(const Message& message, std::string_view file, std::string_view function, int line,
                const std::any& context) override {
        check("logNotice(", message, file, function, line, context);
    }

    void failure(const Message& message, std::string_view file, std::string_view function, int line,
                 const std::any& context) override {
        check("logFailure(", message, file, function, line, context);
    }

    std::atomic<int> count = 0;

private:
    void check(std::string_view call, const Message& message, std::string_view file,
               std::string_view function, int number, const std::any& context) {
        ++count;
        std::ifstream source(std::filesystem::path(CIRRUS_SOURCE_FOLDER) / file);
        std::string name;
        std::string line;
        for (int read = 0; read < number && std::getline(source, line); ++read) {
            const auto start = line.find("name = \"");
            name = start != line.npos ? line.substr(start + 7) : name;
        }
        std::string rest;
        std::getline(source, rest);
        const auto written = message();
        EXPECT_TRUE(line.contains(call)) << file << ":" << number << ": " << line;
        EXPECT_TRUE((line + name).contains("\"" + std::string(function) + "\""))
            << file << ":" << number << " says that it is " << function;
        EXPECT_TRUE((line + rest).contains(written.substr(0, 10))) << line << " wrote " << written;
        EXPECT_FALSE(context.has_value());
    }
};

TEST(Configuration, NamesTheSourceLineThatWroteEachLineOfAJob) {
    Host host;
    const auto sink = std::make_shared<SourceReader>();
    Configuration::setLog(sink);
    const auto controller =
        host.makeController({host.folder().write("one", "first"), host.folder().path() / "none"});
    Host::uploadAndWait(*controller);
    controller->cancel();
    constexpr int linesOfThisJob = 23;
    EXPECT_EQ(sink->count, linesOfThisJob);
}

} // namespace

} // namespace cirrus::tests
