/// A first line as a URL, and all that follows as text to be put into URLs.
#include "Cirrus/platform/formats/UrlBuilder.h"
#include "tests/fuzz/Checks.h"

using namespace cirrus;

/// That all behind `start` is data: nothing ends it, and nothing begins behind it.
static void requireData(const Url& whole, const std::string& start, const char* ends) {
    require(Url::parse(whole.text()) == whole && whole.text().starts_with(start));
    require(whole.text().find_first_of(ends, start.size()) == std::string::npos);
}

static void tryText(const Url& url, const std::string& text) {
    const auto path = url.text().substr(0, url.text().find_first_of("?#"));
    const auto asValue = UrlBuilder::replacingQuery(url, {{"q", text}});
    require(UrlBuilder::isHttps(asValue) == UrlBuilder::isHttps(url));
    requireData(asValue, path + "?q=", "?#&= ");
    requireData(UrlBuilder::replacingQuery(url, {{text, ""}}), path + "?", "?#& ");
    if (UrlBuilder::isHttps(url) && path == url.text()) {
        const auto longer = UrlBuilder::appendingPath(url, text);
        require(UrlBuilder::isHttps(longer));
        requireData(longer, path + "/", "?# ");
    }
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const std::string input(reinterpret_cast<const char*>(bytes), size);
    const auto end = std::min(input.find('\n'), size);
    if (const auto url = Url::parse(input.substr(0, end))) {
        require(url->text() == input.substr(0, end));
        tryText(*url, input.substr(std::min(end + 1, size)));
    }
    return 0;
}
