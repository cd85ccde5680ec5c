#include "Cirrus/platform/BodyPieces.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace cirrus::tests {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t KiB = 1024;
constexpr std::size_t noLimit = 1024 * KiB;

class BodyPiecesTest : public testing::Test {
protected:
    /// Begins with a body that no test comes to the end of.
    void begin() { pieces_.restart(body_); }

    /// The size of the next portion, when the last one took so long, in KiB.
    std::size_t after(BodyPieces::Clock::duration took) {
        now_ += took;
        return pieces_.next(noLimit, now_).size() / KiB;
    }

    const std::string body_ = std::string(8 * noLimit, 'x');
    BodyPieces pieces_;
    BodyPieces::Clock::time_point now_{};
};

TEST_F(BodyPiecesTest, GrowOnAFastLineAndShrinkAtOnceOnASlowOne) {
    struct Row {
        BodyPieces::Clock::duration took;
        std::size_t portion;
        bool moves = true;
    };

    begin();
    const std::vector<Row> rows{{1h, 64},
                                {1us, 128},
                                {0us, 256},
                                {1ms, 512},
                                {1us, 512, false},
                                {1us, 512},
                                {1ms, 512, false},
                                {1ms, 512},
                                {1us, 512, false},
                                {4ms, 256},
                                {2ms, 256},
                                {1ms, 512},
                                {1500us, 512, false},
                                {1500us, 512},
                                {32ms, 32},
                                {64ms, 16},
                                {24h, 16},
                                {2ms, 16},
                                {1ms, 32},
                                {1500us, 42}};
    for (const auto& row : rows) {
        EXPECT_EQ(after(row.took), row.portion) << row.took.count();
        EXPECT_EQ(pieces_.moves(), row.moves) << row.took.count();
    }
}

TEST_F(BodyPiecesTest, KeepTheirSizeFromOneBodyToTheNext) {
    begin();
    EXPECT_EQ(after(0us), 64U);
    EXPECT_EQ(after(0us), 128U);
    begin();
    EXPECT_EQ(after(1h), 128U);
    EXPECT_EQ(after(0us), 256U);
}

TEST_F(BodyPiecesTest, MakeUpTheBodyWithinTheLimit) {
    std::string text;
    for (std::size_t index = 0; index < 300 * KiB + 1; ++index) {
        text += static_cast<char>(index % 251);
    }
    pieces_.restart(text);
    std::string dealt;
    std::size_t limit = 1;
    for (auto piece = pieces_.next(limit, now_); !piece.empty();
         piece = pieces_.next(limit, now_)) {
        EXPECT_LE(piece.size(), limit);
        dealt += piece;
        limit = limit * 7 % (100 * KiB) + 1;
    }
    EXPECT_TRUE(dealt == text);
    EXPECT_TRUE(pieces_.moves());
}

} // namespace
} // namespace cirrus::tests
