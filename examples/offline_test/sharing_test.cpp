// A host's offline test: its own sharing code against a local Drive in the test's process.

#include <Cirrus/emulator/LocalDrive.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <string>

#include "Sharing.h"

namespace {

namespace drive = cirrus::emulator;
using namespace std::chrono_literals;

class SharingTest : public ::testing::Test {
protected:
    /// A file named after the running test, so that tests may run side by side.
    static std::filesystem::path makeFile(const std::string& content) {
        const auto path = std::filesystem::temp_directory_path() /
                          ::testing::UnitTest::GetInstance()->current_test_info()->name();
        std::ofstream(path) << content;
        return path;
    }

    [[nodiscard]] Sharing sharing() { return Sharing((*drive_)->accessToken()); }

    /// Gives every request whose target has this part an answer in Drive's stead.
    void answer(const std::string& part, const drive::Answer& answer) {
        (*drive_)->setHook([=](const drive::Request& request) -> std::optional<drive::Answer> {
            if (request.target.find(part) != std::string::npos) {
                return answer;
            }
            return std::nullopt;
        });
    }

    [[nodiscard]] drive::Snapshot snapshot() { return (*drive_)->snapshot(); }

private:
    /// The one line: from here on every connection of the library ends in this process.
    std::unique_ptr<drive::LocalDrive> drive_ = drive::LocalDrive::start().value();
};

TEST_F(SharingTest, PutsTheFileIntoTheAlbumForEverybody) {
    const auto link = sharing().share({makeFile("some bytes")}, "Album");

    const auto held = snapshot();
    const auto& file = held.files.back();
    EXPECT_TRUE(held.pathOf(file).starts_with("Stashly/Album/"));
    EXPECT_EQ(file.content.bytes(), "some bytes");
    const auto* album = held.file(file.parents.front());
    ASSERT_EQ(album->permissions.size(), 1U);
    EXPECT_EQ(album->permissions.front().type, "anyone");
    ASSERT_TRUE(link) << link.error();
    EXPECT_NE(link->find(album->id), std::string::npos);
}

TEST_F(SharingTest, ShowsTheServicesOwnWords) {
    answer(
        "/permissions",
        {.status = 403, .body = R"({"error": {"code": 403, "message": "Not in this domain."}})"});
    const auto link = sharing().share({makeFile("x")}, "Album");
    ASSERT_FALSE(link);
    EXPECT_EQ(link.error(), "Not in this domain.");
}

TEST_F(SharingTest, SurvivesALateAndBrokenAnswer) {
    answer("upload_id=",
           {.body = "{}", .delay = 50ms, .cutAfter = 20, .ending = drive::Ending::reset});
    const auto link = sharing().share({makeFile("x")}, "Album");
    ASSERT_FALSE(link);
    EXPECT_EQ(link.error(), "Something went wrong, please try again.");
    EXPECT_TRUE(
        std::ranges::none_of(snapshot().files, [](const auto& file) { return !file.isFolder(); }));
}

} // namespace
