/// A first line as a URL, and all that follows as text to be put into URLs.
#include "Cirrus/platform/formats/UrlBuilder.h"
#include "tests/fuzz/Checks.h"

using namespace cirrus;

/// What `whole` has after `start`, with its percent escapes decoded.
static std::string addition(const Url& whole, const std::string& start) {
    require(Url::parse(whole.text()) == whole && whole.text().starts_with(start));
    std::string result;
    for (auto rest = whole.text().substr(start.size()); !rest.empty();) {
        const bool isEscape = rest.front() == '%';
        result += isEscape ? static_cast<char>(std::stoi(rest.substr(1, 2), nullptr, 16)) : rest[0];
        rest.erase(0, isEscape ? 3 : 1);
    }
    return result;
}

static void tryText(const Url& url, const std::string& text) {
    const auto path = url.text().substr(0, url.text().find_first_of("?#"));
    const auto asValue = UrlBuilder::replacingQuery(url, {{"q", text}});
    require(UrlBuilder::isHttps(asValue) == UrlBuilder::isHttps(url));
    require(addition(asValue, path + "?q=") == text);
    require(addition(UrlBuilder::replacingQuery(url, {{text, ""}}), path + "?") == text + "=");
    if (UrlBuilder::isHttps(url) && path == url.text()) {
        const auto longer = UrlBuilder::appendingPath(url, text);
        require(UrlBuilder::isHttps(longer) && addition(longer, path + "/") == text);
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
