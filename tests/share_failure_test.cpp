#include <gtest/gtest.h>

#include <algorithm>

#include "Cirrus/FileUploader.h"
#include "tests/support/Host.h"
#include "tests/support/Step.h"

namespace cirrus::tests {

namespace {

using emulator::Answer;

constexpr auto unreadable = "Could not read the response from Google. Please try again.";
constexpr auto generic = "Something went wrong, please try again.";

TEST(ShareFailure, OfAnyRequestIsLoggedByItsStep) {
    const std::vector<std::pair<Step, std::string>> rows = {
        {Step::search,
         "ShareController failure findOrCreateRootDirectory(): Failed to find directory, "
         "error: invalidResponse"},
        {Step::createRoot,
         "ShareController failure createRootDirectory(): Failed to create root dir, error: "
         "invalidResponse"},
        {Step::createDestination,
         "ShareController failure createDestinationDirectory(parentIdentifier:): Failed to create "
         "destination dir, error: invalidResponse"},
        {Step::session, "FileUploader failure upload(_:completion:): Failed to create upload URL, "
                        "error: invalidResponse"},
        {Step::content, "FileUploader failure uploadContent(of:to:completion:): Failed to upload "
                        "file with error: invalidResponse"},
        {Step::permission, "ShareController failure applyPermissions(fileIdentifier:): Failed to "
                           "apply permissions, error: invalidResponse"},
        {Step::link, "ShareController failure requestContentUrl(fileIdentifier:): Failed to obtain "
                     "URL with error invalidResponse"},
    };
    for (const auto& [step, line] : rows) {
        SCOPED_TRACE(line);
        Host host;
        host.drive().setHook(answeringOnce(step, {.status = 503, .body = "Unavailable"}));
        const auto controller = host.makeController({host.folder().write("one", "first")});
        Host::uploadAndWait(*controller);
        EXPECT_TRUE(host.log().contains(line));
    }
}

TEST(ShareFailure, ShowsTheServicesOwnMessage) {
    Host host;
    const auto controller = std::make_unique<ShareController>(
        ShareController::Context({}, "Root", "Destination"), "expired");
    const auto heard = Host::uploadAndWait(*controller);
    EXPECT_TRUE(heard->failureText().starts_with("Request had invalid authentication credentials"));
    EXPECT_TRUE(host.log().lines().back().starts_with(
        "ShareController failure findOrCreateRootDirectory(): Failed to find directory, error: "
        "serviceError(401: Request had"));
}

TEST(ShareFailure, SharesWithTheEmptyAddressAsGiven) {
    Host host;
    const auto controller = host.makeController({}, "");
    const auto heard = Host::uploadAndWait(*controller);
    EXPECT_EQ(heard->results.front().error().kind(), ShareController::Error::Case::underlying);
    EXPECT_TRUE(heard->failureText().contains("emailAddress")) << heard->failureText();
}

TEST(ShareFailure, OfOneFileLeavesTheOthersAndGrantsNothing) {
    struct Row {
        std::string name;
        std::optional<Answer> firstSession;
        std::string logLine;
    };

    for (const auto& row : {
             Row{"deleted", std::nullopt,
                 "FileUploader failure uploadContent(of:to:completion:): Could not read contents "
                 "of file one, error: No such file or directory"},
             Row{"refused", Answer{.status = 503, .body = ""},
                 "FileUploader failure upload(_:completion:): Failed to create upload URL, error: "
                 "invalidResponse"},
         }) {
        SCOPED_TRACE(row.name);
        Host host;
        const auto one = host.folder().write("one", "first");
        const auto controller = host.makeController(
            {one, host.folder().write("two", "second"), host.folder().write("three", "third")});
        if (row.firstSession) {
            host.drive().setHook(answeringOnce(Step::session, *row.firstSession));
        } else {
            std::filesystem::remove(one);
        }
        const auto heard = Host::uploadAndWait(*controller);
        Host::settle();

        EXPECT_EQ(heard->failureText(), generic);
        EXPECT_EQ(heard->results.front().error().diagnosticText(), "underlying(missingFile)");
        EXPECT_EQ(host.uploadedFiles(), (std::vector<std::string>{"two=second", "three=third"}));
        EXPECT_EQ(host.requests().back(), "POST /upload/drive/v3/files content");
        EXPECT_DOUBLE_EQ(heard->fractions.back(), 2.0 / 3);
        EXPECT_TRUE(host.log().contains(row.logLine));
        EXPECT_EQ(host.log().lines().back(), "ShareController failure prepareFileUpload("
                                             "parentIdentifier:): Failed to upload file with error "
                                             "missingFile");
    }
}

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
    EXPECT_EQ(
        host.log().lines().back(),
        "ShareController failure requestContentUrl(fileIdentifier:): Request was successfull, "
        "but there is no web content link");
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
    EXPECT_EQ(Error::underlying(AnyError(FileUploader::Error::missingFile())).errorDescription(),
              generic);
    EXPECT_EQ(Error::underlying(AnyError(Silent())).errorDescription(), std::nullopt);
    EXPECT_EQ(Error::underlying(AnyError(WebserviceError::invalidResponse())).errorDescription(),
              unreadable);
    EXPECT_NE(Error::underlying(AnyError(WebserviceError::missingData()))
                  .underlyingError()
                  ->as<WebserviceError>(),
              nullptr);
}

} // namespace

} // namespace cirrus::tests
