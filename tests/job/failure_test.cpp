#include <gtest/gtest.h>

#include "tests/support/Host.h"

namespace cirrus::tests {
namespace {

using enum FailureReason;

TEST(Failure, IsAMissingLinkEvenIfThereIsOneToDownload) {
    Host host;
    host.drive().setHook(answeringOnce(
        Step::link,
        {.body =
             R"({"id":"i","kind":"k","name":"n","mimeType":"m","webContentLink":"https://d/"})"}));
    const auto heard = Host::uploadAndWait(*host.makeController({}));
    EXPECT_EQ(heard->failureText(),
              "The files were uploaded, but the shareable link could not be found.");
    EXPECT_EQ(heard->results.at(0).error().reason(), noLink);
}

TEST(Failure, NamesTheFilesInOrder) {
    Host host;
    host.drive().setHook(answeringOnce(Step::content, {.status = 500, .body = ""}));
    const auto first = host.folder().write("first", "1");
    const auto controller =
        host.makeController({first, host.folder().write("second", "2"), "/missing/third"});
    Host::uploadAndWait(*controller);
    const auto files = controller->failedFiles();
    ASSERT_EQ(files.size(), 2U);
    EXPECT_EQ(files[0].path, first);
    EXPECT_EQ(files[0].diagnosticText, "underlying(invalidResponse)");
    EXPECT_EQ(files[1].path, "/missing/third");
    EXPECT_EQ(files[1].reason, unreadableFile);
    EXPECT_EQ(files[1].errorDescription, "The file could not be read.");
    EXPECT_EQ(files[1].diagnosticText, "missingFile(No such file or directory)");
    EXPECT_EQ(host.uploadedFiles(), std::vector<std::string>{"second=2"});
}

} // namespace
} // namespace cirrus::tests
