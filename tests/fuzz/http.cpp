/// A raw HTTP answer, classified and read as each record. Without a status line nothing came at
/// all, without an empty line no body.
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

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const auto outcome =
        outcomeOf(std::istringstream(std::string(reinterpret_cast<const char*>(bytes), size)));
    const auto result = classify(outcome);
    const bool isAccepted = outcome.response && outcome.response->isSuccess();
    require(result.has_value() == (isAccepted && outcome.body));
    if (!result) {
        require(result.error().errorDescription() && !result.error().diagnosticText().empty());
        return 0;
    }
    require(result->data == outcome.body);
    if (const auto json = parseJson(result->data)) {
        tryRecords<File, FileList, Permission>(*json);
    }
    const auto location = headerValue(result->headers, "Location");
    if (const auto url = Url::parse(location.value_or(""))) {
        require(url->text() == location);
        require(!UrlBuilder::isHttps(*url) || UrlBuilder::requestTarget(*url).starts_with('/'));
    }
    return 0;
}
