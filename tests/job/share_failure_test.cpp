#include <gtest/gtest.h>

#include <algorithm>

#include "Cirrus/FileUploader.h"
#include "Cirrus/platform/errors/ErrorKind.h"
#include "tests/support/Host.h"
#include "tests/support/Step.h"

namespace cirrus::tests {

namespace {

using emulator::Answer;

constexpr auto unreadable = "Could not read the response from Google. Please try again.";
constexpr auto generic = "Something went wrong, please try again.";

TEST(ShareFailure, NeedsTheWebLink) {
    Host host;
    host.drive().setHook(answeringOnce(
        Step::link,
        {.body =
             R"({"id":"i","kind":"k","name":"n","mimeType":"m","webContentLink":"https://d/"})"}));
    const auto controller = host.makeController({});
    const auto heard = Host::uploadAndWait(*controller);
    EXPECT_EQ(heard->failureText(),
              "The files were uploaded, but the shareable link could not be found.");
}

TEST(ShareFailure, WordsOfEveryErrorKind) {
    struct Silent {
        [[nodiscard]] static std::string diagnosticText() { return "silent"; }

        [[nodiscard]] static std::optional<std::string> errorDescription() { return std::nullopt; }
    };

    using Error = ShareController::Error;
    EXPECT_EQ(Error::missingFile().errorDescription(),
              "One or more files could not be located by Stashly. Make sure the files are not "
              "moved or deleted and try again.");
    EXPECT_EQ(
        Error::underlying(anyError(FileUploader::Error{FileUploader::Error::Case::missingFile}))
            .errorDescription(),
        generic);
    EXPECT_EQ(Error::underlying(anyError(Silent())).errorDescription(), std::nullopt);
    EXPECT_EQ(Error::underlying(anyError(WebserviceError::invalidResponse())).errorDescription(),
              unreadable);
}

} // namespace

} // namespace cirrus::tests
