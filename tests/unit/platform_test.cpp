#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <clocale>

#include "Cirrus/platform/files/FileContents.h"
#include "Cirrus/platform/formats/LocalTime.h"
#include "tests/support/TemporaryFolder.h"

namespace cirrus::tests {
namespace {

TEST(LocalTime, WritesTheZoneOfTheMomentWhateverTheLocale) {
    using namespace std::chrono;

    constexpr sys_days winter = 2025y / 3 / 5;
    constexpr sys_days summer = 2025y / 7 / 5;
    const std::vector<std::tuple<const char*, system_clock::time_point, std::string>> rows{
        {"UTC0", winter + 13h + 7min + 9s + 999ms, "2025-03-05T13:07:09+0000"},
        {"CET-1CEST,M3.5.0,M10.5.0/3", winter + 13h, "2025-03-05T14:00:00+0100"},
        {"CET-1CEST,M3.5.0,M10.5.0/3", summer + 13h, "2025-07-05T15:00:00+0200"},
        {"NST3:30NDT,M3.2.0,M11.1.0", winter, "2025-03-04T20:30:00-0330"},
        {"IST-5:30", summer + 23h, "2025-07-06T04:30:00+0530"},
        {"UTC0", sys_days(1970y / 1 / 1) - 1ms, "1969-12-31T23:59:59+0000"}};
    for (const auto* locale : {"C", "de_DE.UTF-8", "fa_IR.UTF-8"}) {
        // A locale that the machine does not have leaves the one before.
        static_cast<void>(std::setlocale(LC_ALL, locale));
        for (const auto& [zone, time, expected] : rows) {
            ::setenv("TZ", zone, 1);
            EXPECT_EQ(formatLocalTime(time), expected) << zone << " " << locale;
        }
    }
    std::setlocale(LC_ALL, "C");
    ::unsetenv("TZ");
}

TEST(FileContents, NameTheLastComponentOfAPath) {
    for (const auto* path : {"/a/b é.tar.gz", "/a/b é.tar.gz/", "a//b é.tar.gz//", "b é.tar.gz"}) {
        EXPECT_EQ(lastPathComponent(path), "b é.tar.gz") << path;
    }
    for (const auto* path : {"..", ".hidden", "/", ""}) {
        EXPECT_EQ(lastPathComponent(path), path);
    }
}

TEST(FileContents, AreReadToTheirEndWhateverSizeIsReported) {
    // The first reports no size, the second a page for a few bytes.
    for (const auto* path : {"/proc/version", "/sys/devices/system/cpu/possible"}) {
        std::ifstream file(path);
        EXPECT_EQ(**readFile(path), std::string(std::istreambuf_iterator(file), {}));
    }
}

TEST(FileContents, FailWithTheSystemsReason) {
    const TemporaryFolder folder;
    const auto fifo = folder.path() / "fifo";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    const auto reason = [](const auto& path) { return readFile(path).error().text; };
    EXPECT_EQ(reason(folder.path() / "missing"), "No such file or directory");
    EXPECT_EQ(reason(folder.write("file", "x") / "below"), "Not a directory");
    EXPECT_EQ(reason(folder.path()), "Not a regular file");
    EXPECT_EQ(reason(fifo), "Not a regular file");
    EXPECT_EQ(fileSize(folder.path() / "missing"), std::nullopt);
}

TEST(FileContents, FailWhenTheyDoNotFitIntoMemory) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "The sanitizers end a process that is out of memory.";
#endif
    constexpr std::uint64_t size = 8ULL << 40U;
    const TemporaryFolder folder;
    const auto path = folder.write("sparse", "");
    if (::truncate(path.c_str(), size) != 0) {
        GTEST_SKIP() << "The file system has no files of this size";
    }
    EXPECT_EQ(fileSize(path), size);
    const auto contents = readFile(path);
    ASSERT_FALSE(contents);
    EXPECT_EQ(contents.error().text, std::generic_category().message(ENOMEM));
}

} // namespace
} // namespace cirrus::tests
