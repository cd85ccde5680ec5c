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

TEST(ShareJob, SharesFilesInTheNewestRootFolder) {
    Host host;
    host.drive().addFolder("Root");
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
    ASSERT_EQ(heard->results.size(), 1U);
    EXPECT_EQ(heard->results.front().value().text(),
              "https://drive.google.com/drive/folders/" + destination.id);
    using enum Step;
    EXPECT_EQ(host.requests(), (std::vector{search, createDestination, session, content, session,
                                            content, permission, link}));
    EXPECT_EQ(snapshot.connectionsAccepted, 1U);
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

    using Text = std::optional<std::string>;
    const std::vector<std::tuple<std::string, Text, Text, std::optional<system_clock::time_point>>>
        rows{{"anyone", {}, {}, {}},
             {"anyone", {}, "Hello & welcome", {}},
             {"user", "a@example.com", {}, {}},
             {"user", "a@example.com", "100% für dich", tomorrow}};
    for (const auto& [type, email, message, expiration] : rows) {
        SCOPED_TRACE(type + " " + message.value_or(""));
        Host host;
        const auto controller = host.makeController({}, email, message, expiration);
        ASSERT_TRUE(Host::uploadAndWait(*controller)->results.front());
        const auto permissions = destinationOf(host.drive().snapshot()).permissions;
        ASSERT_EQ(permissions.size(), 1U);
        EXPECT_EQ(permissions[0].role, "reader");
        EXPECT_EQ(permissions[0].type, type);
        EXPECT_EQ(permissions[0].emailAddress, email);
        EXPECT_EQ(permissions[0].emailMessage, message);
        EXPECT_EQ(permissions[0].expiresAt.has_value(), expiration.has_value());
        EXPECT_TRUE(!expiration ||
                    permissions[0].expiresAt == std::chrono::floor<std::chrono::seconds>(tomorrow));
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
