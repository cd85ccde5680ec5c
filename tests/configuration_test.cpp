#include <gtest/gtest.h>

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

constexpr UnitLog unitLog("Cirrus/Unit.cpp");

TEST(Configuration, BuildsAMessageOnlyWhenTheSinkAsks) {
    int conversions = 0;
    int copies = 0;
    const CountingError error(&conversions, &copies);
    if (!installedLog()) {
        unitLog.failure("step()", "Failed: ", error);
        EXPECT_EQ(copies, 0);
    }
    const auto sink = std::make_shared<LazySink>();
    Configuration::setLog(sink);
    unitLog.failure("step()", "Failed: ", error);
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
    unitLog.detail("one()");
    Configuration::setLog(second);
    EXPECT_EQ(first.use_count(), 1);
    Configuration::setLog(nullptr);
    unitLog.notice("two()", "text");
    unitLog.failure("three()", "of ", std::filesystem::path("/a/b.txt"));
    EXPECT_EQ(first->lines(), std::vector<std::string>{"Unit detail one(): "});
    EXPECT_EQ(second->lines(), (std::vector<std::string>{"Unit notice two(): text",
                                                         "Unit failure three(): of b.txt"}));
}

} // namespace

} // namespace cirrus::tests
