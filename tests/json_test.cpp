#include "Cirrus/platform/Json.h"

#include <gtest/gtest.h>

#include <limits>

namespace cirrus::tests {
namespace {

TEST(Json, RefusesWhatIsNotExactlyOneShallowValue) {
    constexpr std::size_t million = 1'000'000;
    for (const std::string text :
         {"", " ", "{", "{} {}", "[1,]", "tru", "'a'", "01", "\"\xff\"", "\"\xed\xa0\x80\"",
          "\"\t\"", "\"\\ud800\"", "1e999", "-1e999", "{\"a\":1,}"}) {
        EXPECT_FALSE(parseJson(text)) << text;
    }
    EXPECT_FALSE(parseJson(std::string(million, '[')));
    EXPECT_FALSE(parseJson(std::string(million, '[') + std::string(million, ']')));
    EXPECT_TRUE(parseJson(std::string(256, '[') + std::string(256, ']')));
    EXPECT_FALSE(parseJson(std::string(257, '[') + std::string(257, ']')));
}

TEST(Json, ReadsWhatItWrites) {
    const JsonValue value = JsonValue::Object{
        {"\"quoted\\\"", "line\nbreak \x01 é 😀"},
        {"", JsonValue::Array{nullptr, false, std::numeric_limits<std::int64_t>::min(),
                              std::numeric_limits<std::uint64_t>::max(), 0.1,
                              1.7976931348623157e308, 5e-324}},
        {"empty", JsonValue::Object{}}};
    EXPECT_EQ(parseJson(writeJson(value).value()).value(), value);
    EXPECT_EQ(parseJson(R"( {"a":1,"b":"\u00e9\n","a":[-2.5,true]} )").value(),
              (JsonValue::Object{{"a", 1}, {"b", "é\n"}, {"a", JsonValue::Array{-2.5, true}}}));
    EXPECT_EQ(parseJson("1e-999").value(), JsonValue(0.0));
    EXPECT_EQ(*parseJson(R"({"a":1,"b":2,"a":3})").value().member("a"), JsonValue(3));
}

TEST(Json, WritesNoTextThatIsNotUtf8) {
    EXPECT_FALSE(writeJson("caf\xe9"));
    EXPECT_FALSE(writeJson(JsonValue::Object{{"\xff", 1}}));
    EXPECT_FALSE(writeJson(JsonValue::Array{1, JsonValue::Array{"\xc3"}}));
}

} // namespace
} // namespace cirrus::tests
