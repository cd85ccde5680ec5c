#include <gtest/gtest.h>

#include "Cirrus/FileUploader.h"
#include "Cirrus/platform/errors/ErrorKind.h"
#include "Cirrus/webservice/ConnectionError.h"
#include "tests/support/Host.h"

namespace cirrus::tests {
namespace {

using emulator::Answer;
using enum FailureReason;

Answer refusal(unsigned code) {
    const auto number = std::to_string(code);
    return {.status = code, .body = R"({"error":{"message":"No.","code":)" + number + "}}"};
}

TEST(Failure, HasTheReasonThatTheServiceGave) {
    const auto onlyDownload =
        R"({"id":"i","kind":"k","name":"n","mimeType":"m","webContentLink":"https://d/"})";
    const auto lost = emulator::hangUp(emulator::Ending::close);
    const std::vector<std::tuple<Step, Answer, FailureReason, std::optional<std::int64_t>>> rows{
        {Step::search, refusal(401), signedOut, 401},
        {Step::createRoot, refusal(400), refused, 400},
        {Step::permission, refusal(403), refused, 403},
        {Step::createDestination, refusal(404), notFound, 404},
        {Step::link, refusal(429), tooManyRequests, 429},
        {Step::search, refusal(503), serviceTrouble, 503},
        {Step::search, {.status = 500, .body = "<html>"}, answerNotUnderstood, std::nullopt},
        {Step::search, {.body = "{}"}, answerNotUnderstood, std::nullopt},
        {Step::search, lost, connectionLost, std::nullopt},
        {Step::link, {.body = onlyDownload}, noLink, std::nullopt},
    };
    for (const auto& [step, answer, reason, code] : rows) {
        SCOPED_TRACE(emulator::wireBytes(answer));
        Host host;
        host.drive().setHook(answeringOnce(step, answer));
        const auto controller = host.makeController({});
        const auto heard = Host::uploadAndWait(*controller);
        EXPECT_EQ(heard->results.at(0).error().reason(), reason);
        EXPECT_EQ(heard->results.at(0).error().serviceCode(), code);
        EXPECT_TRUE(controller->failedFiles().empty());
        EXPECT_TRUE(reason != noLink ||
                    heard->failureText() ==
                        "The files were uploaded, but the shareable link could not be found.");
    }
}

TEST(Failure, HasTheReasonOfTheTransport) {
    using Transport = TransportError::Reason;
    for (const auto& [cause, reason] : {std::pair(Transport::noConnection, offline),
                                        {Transport::timedOut, timedOut},
                                        {Transport::untrustedCertificate, untrustedConnection},
                                        {Transport::other, other}}) {
        const ConnectionError error{{.reason = cause, .code = 0, .text = ""}};
        EXPECT_EQ(ShareController::Error::underlying(
                      anyError(WebserviceError::underlyingError(anyError(error))))
                      .reason(),
                  reason);
    }
}

TEST(Failure, HasWordsForTheUser) {
    struct Silent {
        [[nodiscard]] static std::string diagnosticText() { return "silent"; }

        [[nodiscard]] static std::optional<std::string> errorDescription() { return std::nullopt; }
    };

    using Error = ShareController::Error;
    EXPECT_EQ(Error::missingFile().errorDescription(),
              "One or more files could not be located by Stashly. Make sure the files are not "
              "moved or deleted and try again.");
    EXPECT_EQ(Error::underlying(anyError(FileUploader::Error::missingFile())).errorDescription(),
              "Something went wrong, please try again.");
    EXPECT_EQ(Error::underlying(anyError(Silent())).errorDescription(), std::nullopt);
}

TEST(Failure, NamesTheFilesInOrder) {
    Host host;
    host.drive().setHook(answeringOnce(Step::content, refusal(401)));
    const auto first = host.folder().write("first", "1");
    const auto controller =
        host.makeController({first, host.folder().write("second", "2"), "/missing/third"});
    const auto heard = Host::uploadAndWait(*controller);
    EXPECT_EQ(heard->results.at(0).error().reason(), filesFailed);
    const auto files = controller->failedFiles();
    ASSERT_EQ(files.size(), 2U);
    EXPECT_EQ(files[0].path, first);
    EXPECT_EQ(files[0].reason, signedOut);
    EXPECT_EQ(files[0].serviceCode, 401);
    EXPECT_EQ(files[0].diagnosticText, "underlying(serviceError(401: No.))");
    EXPECT_EQ(files[1].path, "/missing/third");
    EXPECT_EQ(files[1].reason, unreadableFile);
    EXPECT_EQ(files[1].serviceCode, std::nullopt);
    EXPECT_EQ(files[1].diagnosticText, "missingFile(No such file or directory)");
    EXPECT_EQ(host.uploadedFiles(), std::vector<std::string>{"second=2"});
}

} // namespace
} // namespace cirrus::tests
