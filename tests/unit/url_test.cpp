#include <Cirrus/Url.h>

#include <gtest/gtest.h>

#include "Cirrus/platform/formats/UrlBuilder.h"

namespace cirrus::tests {
namespace {

using namespace std::string_view_literals;

Url url(std::string_view text) {
    return Url::parse(text).value();
}

TEST(Url, KeepsItsTextAndRefusesWhatIsNoReference) {
    for (const auto text :
         {"https://www.googleapis.com/drive/v3?a=b&c=%20#part"sv, "HTTPS://Host:443/%2f"sv,
          "/a/../b"sv, "relative"sv, "//h/x"sv, "?query"sv, "#fragment"sv, "https://[::1]:80/"sv,
          "https://h/!$&'()*+,;=:@"sv, "https:"sv}) {
        const auto parsed = Url::parse(text);
        ASSERT_TRUE(parsed) << text;
        EXPECT_EQ(parsed->text(), text);
    }
    for (const auto text :
         {""sv, " "sv, "https://h/a b"sv, " https://h/"sv, "https://h/\n"sv, "https://h/\x7f"sv,
          "a\tb"sv, "https://h/\0"sv, "https://h/é"sv, "%zz"sv, "https://h/%"sv, "https://h/%4"sv,
          "https://h/\""sv, "https://h/<a>"sv, "a#b#c"sv, "https://[::1"sv, "https://h:port/"sv,
          "1a:b"sv}) {
        EXPECT_FALSE(Url::parse(text)) << text;
    }
}

TEST(Url, TakesAnyTextIntoItsPathAndQuery) {
    constexpr auto text = "a/../b?#%41+é\"'\n\\&=:@$,;!*() [<{|^`}>]-._~\xff\0"sv;
    for (const auto& [made, expected] :
         {std::pair(UrlBuilder::appendingPath(url("https://h/base"), text),
                    "https://h/base/a/../b%3F%23%2541+%C3%A9%22'%0A%5C&=:@$,;!*()%20"
                    "%5B%3C%7B%7C%5E%60%7D%3E%5D-._~%FF%00"),
          {UrlBuilder::replacingQuery(url("https://h"), {{"n&", std::string(text)}}),
           "https://"
           "h?n%26=a%2F..%2Fb%3F%23%2541%2B%C3%A9%22%27%0A%5C%26%3D%3A%40%24%2C%3B%21%2A%28%29%20"
           "%5B%3C%7B%7C%5E%60%7D%3E%5D-._~%FF%00"}}) {
        EXPECT_EQ(made.text(), expected);
        EXPECT_EQ(Url::parse(expected), made);
    }
}

TEST(Url, ReplacesTheWholeQuery) {
    for (const auto* text : {"/p", "/p?", "/p?old=%20&a=b", "/p?x#f", "/p#f?x"}) {
        EXPECT_EQ(UrlBuilder::replacingQuery(url(text), {{"c", "2"}, {"a", ""}}).text(),
                  "/p?a=&c=2")
            << text;
    }
    EXPECT_EQ(UrlBuilder::replacingQuery(url("/p?x"), {}).text(), "/p");
}

} // namespace
} // namespace cirrus::tests
