#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <ctime>
#include <fstream>
#include <iomanip>
#include <sstream>
#include <thread>

#include "Cirrus/platform/files/FileContents.h"
#include "Cirrus/platform/formats/LocalTime.h"
#include "Cirrus/platform/threads/LibraryThread.h"
#include <Cirrus/adapters/Win32.h>

namespace cirrus::tests {

namespace {

class Files : public testing::Test {
protected:
    Files() { std::filesystem::create_directory(path); }

    ~Files() override { std::filesystem::remove_all(path); }

    const std::filesystem::path path =
        std::filesystem::temp_directory_path() / std::to_string(::GetCurrentProcessId());
};

TEST_F(Files, AreReadWhateverTheirPath) {
    std::wstring deep = LR"(\\?\)" + path.native();
    while (deep.size() < 300) {
        deep += L"\\" + std::wstring(60, L'ä');
        ASSERT_NE(::CreateDirectoryW(deep.c_str(), nullptr), 0);
    }
    const std::string bytes("line\r\n\x1a\0 end", 12);
    for (const auto& folder : {path, std::filesystem::path(deep.substr(4))}) {
        const auto file = folder / L"ж 1.bin";
        std::ofstream(std::filesystem::path(LR"(\\?\)" + file.native()), std::ios::binary) << bytes;
        EXPECT_EQ(fileSize(file), bytes.size());
        const auto contents = readFile(file);
        ASSERT_TRUE(contents) << contents.error().diagnosticText();
        EXPECT_EQ(**contents, bytes);
        ::DeleteFileW((LR"(\\?\)" + file.native()).c_str());
    }
    for (; deep.size() > path.native().size() + 4; deep.resize(deep.rfind(L'\\'))) {
        ::RemoveDirectoryW(deep.c_str());
    }
}

TEST_F(Files, FailWithTheSystemsReason) {
    EXPECT_EQ(readFile(path / "missing").error().text, "No such file or directory");
    EXPECT_EQ(readFile(path).error().text, "Permission denied");
    EXPECT_EQ(readFile("NUL").error().text, "Not a regular file");
    EXPECT_EQ(fileSize(path / "missing"), std::nullopt);
}

TEST(FileNames, AreTheLastComponentInUtf8) {
    for (const auto* name : {LR"(C:\a\b é)", LR"(C:\a\b é\)", LR"(a/b é)", LR"(b é\\)"}) {
        EXPECT_EQ(lastPathComponent(name), "b é");
    }
    EXPECT_EQ(lastPathComponent(std::wstring(L"half \xD800 pair")), "half \uFFFD pair");
}

/// Reads date, time and offset back; the zone of the machine does not matter then.
std::chrono::sys_seconds read(const std::string& text) {
    std::tm time{};
    int offset = 0;
    std::istringstream stream(text);
    stream >> std::get_time(&time, "%Y-%m-%dT%H:%M:%S") >> offset;
    EXPECT_TRUE(stream && stream.peek() == EOF && text.size() == 24) << text;
    const auto day = std::chrono::year(1900 + time.tm_year) / (time.tm_mon + 1) / time.tm_mday;
    return std::chrono::sys_days(day) + std::chrono::hours(time.tm_hour) +
           std::chrono::minutes(time.tm_min - offset / 100 * 60 - offset % 100) +
           std::chrono::seconds(time.tm_sec);
}

TEST(LocalTime, NamesTheMomentWithItsOffset) {
    using namespace std::chrono;

    for (const auto moment :
         {sys_days(2025y / 3 / 5) + 13h + 7min + 9s, sys_days(2025y / 7 / 5) + 23h + 59min + 59s,
          sys_days(1970y / 1 / 1) - 2s, sys_days(2038y / 1 / 20) + 0s}) {
        EXPECT_EQ(read(formatLocalTime(moment + 999ms)), moment) << formatLocalTime(moment);
    }
}

TEST(Threads, EndWithinTheirBound) {
    LibraryThread thread([] {});
    EXPECT_TRUE(thread.join(std::chrono::seconds(30)));
}

TEST(MessageLoop, RunsEveryTaskInOrderOnItsThread) {
    ASSERT_TRUE(useWin32MessageLoop());
    const auto turn = [] {
        MSG message{};
        ::GetMessageW(&message, nullptr, 0, 0);
        ::DispatchMessageW(&message);
    };
    // More than a message queue holds.
    constexpr int most = 30'000;
    int count = 0;
    std::jthread poster([&, loopThread = std::this_thread::get_id()] {
        for (int number = 0; number < most; ++number) {
            MainQueue::post([&, number, loopThread] {
                EXPECT_EQ(std::this_thread::get_id(), loopThread);
                EXPECT_EQ(count++, number);
                while (number == 10 && count < 1000) {
                    turn(); // as inside a message box
                }
            });
        }
    });
    while (count < most) {
        turn();
    }
    MainQueue::setWakeUp({});
}

} // namespace

} // namespace cirrus::tests
