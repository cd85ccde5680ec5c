#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/support/Host.h"
#include "tests/support/Step.h"

namespace cirrus::tests {
namespace {

namespace fs = std::filesystem;

TEST(FileFault, InTheMiddleOfAJobConcernsThatFileAlone) {
    using Files = std::vector<std::string>;
    const Files others{"one=1", "three=3"};
    const std::vector<std::pair<std::function<void(const fs::path&)>, Files>> rows{
        {[](auto& path) { fs::remove(path); }, others},
        {[](auto& path) { fs::remove(path) && fs::create_directory(path); }, others},
        {[](auto& path) { fs::remove(path) && ::mkfifo(path.c_str(), 0600) == 0; }, others},
        {[](auto& path) { std::ofstream(path) << "m"; }, {"one=1", "mid=m", "three=3"}},
        {[](auto& path) { std::ofstream(path) << "long"; }, {"one=1", "mid=long", "three=3"}},
        {[](auto& path) { std::ofstream(path) << ""; }, {"one=1", "mid=", "three=3"}},
    };
    for (const auto& [spoil, files] : rows) {
        SCOPED_TRACE(testing::PrintToString(files));
        Host host;
        const auto middle = host.folder().write("mid", "mid");
        host.drive().setHook([&](const emulator::Request& request) {
            if (request.body.bytes().contains("\"mid\"") && stepOf(request) == Step::session) {
                spoil(middle);
            }
            return std::optional<emulator::Answer>();
        });
        const auto controller = host.makeController(
            {host.folder().write("one", "1"), middle, host.folder().write("three", "3")});
        const auto heard = Host::uploadAndWait(*controller);
        Host::settle();

        const bool isWhole = files.size() == 3;
        EXPECT_EQ(heard->failureText(),
                  isWhole ? "(no failure)" : "Something went wrong, please try again.");
        EXPECT_EQ(host.uploadedFiles(), files);
        // A file that can not be read has its session opened all the same.
        EXPECT_EQ(host.requests().size(), isWhole ? 11U : 8U);
    }
}

TEST(FileFault, OfTheLastFileIsToldOnTheMainQueue) {
    Host host;
    const auto controller = host.makeController({"/missing"});
    const auto heard = Host::upload(*controller);
    ASSERT_TRUE(
        host.log().await("FileUploader failure uploadContent(of:to:completion:): Could not "
                         "read contents of file missing, error: No such file or directory"));
    Host::passCallbackThread();
    const auto lines = host.log().lines().size();
    EXPECT_TRUE(pumpUntil([&] { return !heard->results.empty(); }));
    // Its step had not ended before the main queue ran.
    EXPECT_GT(host.log().lines().size(), lines);
}

} // namespace
} // namespace cirrus::tests
