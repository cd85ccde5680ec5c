#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "tests/support/Host.h"

namespace cirrus::tests {

namespace {

using std::chrono::system_clock;

/// The folder that a job made, out of what the Drive holds.
emulator::DriveFile destinationOf(const emulator::Snapshot& snapshot) {
    const auto found = std::ranges::find(snapshot.files, "Destination", &emulator::DriveFile::name);
    return found != snapshot.files.end() ? *found : emulator::DriveFile();
}

TEST(ShareJob, SharesFilesInTheNewestRootFolder) {
    Host host;
    host.drive().addFolder("Root");
    const auto root = host.drive().addFolder("Root").value_or("none");
    const std::string bytes("\0a\r\n\xff", 5);
    const std::string large(3'000'000, 'x');
    const auto heard = Host::uploadAndWait(*host.makeController(
        {host.folder().write("one.txt", bytes), host.folder().write("empty", ""),
         host.folder().write("two ü'&.txt", large)}));

    const auto snapshot = host.drive().snapshot();
    const auto destination = destinationOf(snapshot);
    EXPECT_EQ(destination.parents, std::vector{root});
    EXPECT_EQ(host.uploadedFiles(),
              (std::vector<std::string>{"one.txt=" + bytes, "empty=", "two ü'&.txt=" + large}));
    ASSERT_EQ(heard->results.size(), 1U);
    EXPECT_EQ(heard->results.front().value().text(),
              "https://drive.google.com/drive/folders/" + destination.id);
    using enum Step;
    EXPECT_EQ(host.requests(), (std::vector{search, createDestination, session, content, session,
                                            content, session, content, permission, link}));
    EXPECT_EQ(snapshot.connectionsAccepted, 1U);

    // All progress comes through one object.
    EXPECT_GE(heard->fractions.size(), 3U);
    EXPECT_TRUE(std::ranges::is_sorted(heard->fractions));
    EXPECT_EQ(heard->fractions.back(), 1.0);
    EXPECT_EQ(std::set(heard->objects.begin(), heard->objects.end()).size(), 1U);
    EXPECT_EQ(heard->objects.front()->totalUnitCount(), 300U);
    EXPECT_TRUE(heard->wasOnMainThread);
}

TEST(ShareJob, GrantsWhatTheContextSays) {
    const auto tomorrow =
        std::chrono::ceil<std::chrono::seconds>(system_clock::now() + std::chrono::hours(24));
    using Text = std::optional<std::string>;
    using Time = std::optional<system_clock::time_point>;
    for (const auto& [email, message, expiration] :
         {std::tuple(Text(), Text(), Time()),
          {Text(), "Hello & welcome", Time()},
          {"a@example.com", {}, {}},
          {"a@example.com", "100% für dich", tomorrow}}) {
        SCOPED_TRACE(email.value_or("anyone") + " " + message.value_or(""));
        Host host;
        Host::uploadAndWait(*host.makeController({}, email, message, expiration));
        const auto permissions = destinationOf(host.drive().snapshot()).permissions;
        ASSERT_EQ(permissions.size(), 1U);
        EXPECT_EQ(permissions[0].role, "reader");
        EXPECT_EQ(permissions[0].type, email ? "user" : "anyone");
        EXPECT_EQ(permissions[0].emailAddress, email);
        EXPECT_EQ(permissions[0].emailMessage, message);
        EXPECT_EQ(permissions[0].expiresAt, expiration);
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
