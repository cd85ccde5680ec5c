#include <gtest/gtest.h>

#include <algorithm>

#include "tests/support/Host.h"

namespace cirrus::tests {

namespace {

using std::chrono::system_clock;

/// The folder that a job made, out of what the Drive holds.
emulator::DriveFile destinationOf(const emulator::Snapshot& snapshot) {
    const auto found = std::ranges::find(snapshot.files, "Destination", &emulator::DriveFile::name);
    return found != snapshot.files.end() ? *found : emulator::DriveFile();
}

TEST(ShareJob, SharesFilesInAnExistingRootFolder) {
    Host host;
    const auto root = host.drive().addFolder("Root").value_or("none");
    const std::string bytes("\0a\r\n\xff", 5);
    const auto controller = host.makeController(
        {host.folder().write("one.txt", bytes), host.folder().write("two ü'&.txt", "second")});
    const auto heard = Host::uploadAndWait(*controller);

    const auto snapshot = host.drive().snapshot();
    const auto destination = destinationOf(snapshot);
    EXPECT_EQ(destination.parents, std::vector{root});
    EXPECT_EQ(host.uploadedFiles(),
              (std::vector<std::string>{"one.txt=" + bytes, "two ü'&.txt=second"}));
    ASSERT_EQ(destination.permissions.size(), 1U);
    EXPECT_EQ(destination.permissions.front().type, "anyone");
    EXPECT_EQ(destination.permissions.front().role, "reader");
    ASSERT_EQ(heard->results.size(), 1U);
    ASSERT_TRUE(heard->results.front());
    EXPECT_EQ(heard->results.front()->text(),
              "https://drive.google.com/drive/folders/" + destination.id);
    EXPECT_EQ(host.requests(), (std::vector<std::string>{
                                   "GET /drive/v3/files",
                                   "POST /drive/v3/files",
                                   "POST /upload/drive/v3/files",
                                   "POST /upload/drive/v3/files content",
                                   "POST /upload/drive/v3/files",
                                   "POST /upload/drive/v3/files content",
                                   "POST /drive/v3/files/ID/permissions",
                                   "GET /drive/v3/files/ID",
                               }));
    EXPECT_EQ(snapshot.connectionsAccepted, 1U);
}

TEST(ShareJob, UsesTheFirstOfSeveralRootFolders) {
    Host host;
    host.drive().addFolder("Root");
    // The service lists the newest first.
    const auto newest = host.drive().addFolder("Root").value_or("none");
    const auto controller = host.makeController({});
    Host::uploadAndWait(*controller);
    EXPECT_EQ(destinationOf(host.drive().snapshot()).parents, std::vector{newest});
}

TEST(ShareJob, ReportsProgressOfAllFilesThroughOneObject) {
    Host host;
    const auto controller =
        host.makeController({host.folder().write("small", "x"), host.folder().write("empty", ""),
                             host.folder().write("large", std::string(3'000'000, 'x'))});
    const auto heard = Host::uploadAndWait(*controller);

    ASSERT_GE(heard->fractions.size(), 3U);
    EXPECT_TRUE(std::ranges::is_sorted(heard->fractions));
    EXPECT_EQ(heard->fractions.back(), 1.0);
    EXPECT_EQ(std::ranges::count(heard->objects, heard->objects.front()),
              static_cast<std::ptrdiff_t>(heard->objects.size()));
    EXPECT_EQ(heard->objects.front()->totalUnitCount(), 300U);
    EXPECT_TRUE(heard->wasOnMainThread);
}

TEST(ShareJob, GrantsWhatTheContextSays) {
    const auto tomorrow = system_clock::now() + std::chrono::hours(24);

    struct Row {
        std::optional<std::string> email;
        std::optional<std::string> message;
        std::optional<system_clock::time_point> expiration;
        std::string type;
    };

    for (const auto& row : {
             Row{std::nullopt, std::nullopt, std::nullopt, "anyone"},
             Row{std::nullopt, "Hello & welcome", std::nullopt, "anyone"},
             Row{"a@example.com", std::nullopt, std::nullopt, "user"},
             Row{"a@example.com", "100% für dich", tomorrow, "user"},
         }) {
        SCOPED_TRACE(row.type + " " + row.message.value_or(""));
        Host host;
        const auto controller = host.makeController({}, row.email, row.message, row.expiration);
        const auto heard = Host::uploadAndWait(*controller);
        ASSERT_TRUE(heard->results.front());
        const auto permission = destinationOf(host.drive().snapshot()).permissions.at(0);
        EXPECT_EQ(permission.role, "reader");
        EXPECT_EQ(permission.type, row.type);
        EXPECT_EQ(permission.emailAddress, row.email);
        EXPECT_EQ(permission.emailMessage, row.message);
        EXPECT_EQ(permission.expiresAt.has_value(), row.expiration.has_value());
        if (row.expiration) {
            EXPECT_EQ(*permission.expiresAt, std::chrono::floor<std::chrono::seconds>(tomorrow));
        }
    }
}

TEST(ShareJob, MovesAndDoesNothingOnceMovedFrom) {
    Host host;
    auto controller = host.makeController({});
    ShareController moved(std::move(*controller));
    controller->upload({}, [](const auto&) { ADD_FAILURE(); });
    controller->cancel();
    EXPECT_TRUE(Host::uploadAndWait(moved)->results.front());
}

} // namespace

} // namespace cirrus::tests
