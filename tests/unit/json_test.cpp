#include "Cirrus/platform/formats/Json.h"

#include <gtest/gtest.h>

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
    EXPECT_TRUE(parseJson(std::string(256, '[') + "1" + std::string(256, ']')));
    EXPECT_FALSE(parseJson(std::string(257, '[') + std::string(257, ']')));
    EXPECT_EQ(parseJson("[1,").error(), "not JSON at byte 4");
    EXPECT_EQ(parseJson(R"({"a":1,"b":2,"a":3})").value()["a"], 3);
}

TEST(Json, TakesTimeInProportionToItsText) {
    std::string list = "[";
    for (int count = 0; count < 500'000; ++count) {
        list += "{},";
    }
    EXPECT_TRUE(parseJson(list + "{}]"));
}

TEST(Json, WritesIndentedUtf8OrNothing) {
    EXPECT_EQ(writeJson({{"a", {"é", 1}}}), "{\n  \"a\": [\n    \"é\",\n    1\n  ]\n}");
    EXPECT_FALSE(writeJson("caf\xe9"));
    EXPECT_FALSE(writeJson({{"\xff", 1}}));
    EXPECT_FALSE(writeJson({1, JsonValue::array({"\xc3"})}));
}

} // namespace
} // namespace cirrus::tests
