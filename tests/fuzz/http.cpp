/// A raw HTTP answer, classified and read as each record. Without a status line nothing came at
/// all, without an empty line no body.
#include <ranges>
#include <sstream>

#include "Cirrus/platform/formats/UrlBuilder.h"
#include "Cirrus/webservice/Response.h"
#include "tests/fuzz/Checks.h"

using namespace cirrus;

static HttpOutcome outcomeOf(std::istringstream input) {
    HttpOutcome outcome{{}, HttpResponse(), {}};
    std::string line;
    if (!(input >> line >> outcome.response->statusCode) || line != "HTTP/1.1") {
        return {.error = TransportError{.text = line}};
    }
    std::getline(input, line);
    while (std::getline(input, line) && line != "\r") {
        const auto colon = line.find(':');
        outcome.response->headers.emplace_back(line.substr(0, colon), line.substr(colon + 1));
    }
    if (input) {
        outcome.body.emplace(std::istreambuf_iterator(input), std::istreambuf_iterator<char>());
    }
    return outcome;
}

static void tryAnswer(const HttpOutcome& outcome) {
    using enum WebserviceError::Case;
    const auto result = classify(outcome);
    const auto json = parseJson(outcome.body.value_or(""));
    const bool isAccepted = outcome.response && outcome.response->statusCode / 100 == 2;
    require(result.has_value() == (isAccepted && outcome.body));
    if (!result) {
        const bool isRefusal = json && ServiceError::decode(*json);
        const auto refused = isRefusal ? serviceError : invalidResponse;
        const auto answered = isAccepted ? missingData : refused;
        require(result.error().kind() == (outcome.error ? underlyingError : answered));
        require(result.error().errorDescription() && !result.error().diagnosticText().empty());
    } else if (require(result->data == outcome.body); json) {
        const auto kept = std::ranges::distance(result->headers);
        require(kept == 0 || kept == std::ranges::distance(outcome.response->headers));
        tryRecords<File, FileList, Permission>(*json);
    }
    if (const auto location =
            outcome.response ? headerValue(outcome.response->headers, "Location") : std::nullopt) {
        const auto url = Url::parse(*location);
        require(!url || url->text() == *location);
        require(!url || !UrlBuilder::isHttps(*url) ||
                UrlBuilder::requestTarget(*url).starts_with('/'));
    }
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(bytes), size);
    tryAnswer(outcomeOf(std::istringstream(text)));
    return 0;
}
