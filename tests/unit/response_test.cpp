#include "Cirrus/webservice/Response.h"

#include <gtest/gtest.h>

#include "Cirrus/platform/errors/ErrorKind.h"

namespace cirrus::tests {
namespace {

using enum FailureReason;

HttpOutcome answer(int status, std::optional<std::string> body, HeaderFields headers = {}) {
    return {std::move(body), HttpResponse{status, std::move(headers)}, {}};
}

void expectClass(const std::string& expected, const std::vector<HttpOutcome>& outcomes) {
    for (const auto& outcome : outcomes) {
        SCOPED_TRACE(outcome.response ? outcome.response->statusCode : 0);
        const auto result = classify(outcome);
        EXPECT_EQ(result ? "'" + result->data + "'" : result.error().diagnosticText(), expected);
    }
}

TEST(Response, ClassifiesEveryOutcome) {
    const std::string envelope = R"({"error":{"code":404,"message":"No"}})";
    expectClass("'x'", {answer(200, "x"), answer(204, "x"), answer(299, "x")});
    expectClass("''", {answer(200, "")});
    expectClass("'" + envelope + "'", {answer(200, envelope)});
    expectClass("missingData", {answer(200, {}), answer(204, {}), answer(299, {})});
    expectClass("serviceError(404: No)",
                {answer(404, envelope), answer(199, envelope), answer(300, envelope)});
    expectClass("invalidResponse",
                {answer(199, "x"), answer(101, ""), answer(300, "x"), answer(304, {}),
                 answer(404, envelope + "x"), answer(502, "<html>Bad gateway</html>"),
                 answer(500, {}), HttpOutcome{"x", {}, {}}, HttpOutcome()});
    expectClass("underlyingError(timedOut(28: t))",
                {HttpOutcome{"x", HttpResponse{200, {}}, TransportError{timedOut, 28, "t"}}});
}

TEST(Response, GivesAllHeadersOrNone) {
    HeaderFields headers{{"Location", "x"}, {"ETag", "\xe9"}, {"Bad Name", ""}, {"caf\u00E9", ""}};
    EXPECT_EQ(headerValue(classify(answer(200, "", headers)).value().headers, "ETag"), "\xe9");
    headers.emplace_back("caf\xe9", "y");
    const auto result = classify(answer(200, "x", headers)).value();
    EXPECT_EQ(result.data, "x");
    EXPECT_TRUE(result.headers.empty());
}

// The table of faults has the rest.
TEST(Response, ConnectionErrorsHaveWordsForTheUser) {
    const auto wordsFor = [](FailureReason reason) {
        return classify({.error = TransportError{reason, 0, ""}}).error().errorDescription();
    };
    EXPECT_EQ(wordsFor(offline),
              "Could not connect to Google. Check your internet connection and try again.");
    EXPECT_EQ(wordsFor(untrustedConnection),
              "The connection to Google is not secure: the server's certificate is not trusted. "
              "Check your network and the date of this computer.");
}

} // namespace
} // namespace cirrus::tests
