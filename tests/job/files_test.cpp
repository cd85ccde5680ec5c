// Files and names as some systems have them, and files that change while they are shared.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <semaphore.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>

#include "tests/support/Host.h"

namespace cirrus::tests {
namespace {

namespace fs = std::filesystem;
using Files = std::vector<std::string>;

TEST(Files, ThatChangeInTheMiddleOfAJobConcernThemselvesAlone) {
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
        const auto heard = Host::uploadAndWait(*host.makeController(
            {host.folder().write("one", "1"), middle, host.folder().write("three", "3")}));
        Host::settle();

        const bool isWhole = files.size() == 3;
        EXPECT_EQ(heard->failureText(),
                  isWhole ? "(no failure)" : "Something went wrong, please try again.");
        EXPECT_EQ(host.uploadedFiles(), files);
        // A file that can not be read has its session opened all the same.
        EXPECT_EQ(host.requests().size(), isWhole ? 11U : 8U);
    }
}

TEST(Files, ThatCanNotBeReadAreToldOfOnTheMainQueue) {
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

TEST(Files, WhoseNamesAreNotUtf8ArriveRepaired) {
    Host host;
    const auto file = host.folder().write("caf\xe9.txt", "bytes");
    ShareController controller({{file}, "R\xff", "D\xff", "a\xff@b", "m\xff"},
                               host.drive().accessToken());
    EXPECT_TRUE(Host::uploadAndWait(controller)->results.at(0));
    const auto drive = host.drive().snapshot();
    EXPECT_EQ(drive.pathOf(drive.files.back()), "R\uFFFD/D\uFFFD/caf\uFFFD.txt");
}

sem_t isAskedFor;

TEST(Files, UnderALeaseAreReadOnceItIsGivenBackUnlessTheJobHasEnded) {
    ::sem_init(&isAskedFor, 0, 0);
    std::signal(SIGIO, [](int) { ::sem_post(&isAskedFor); });
    for (const bool endsMeanwhile : {false, true}) {
        Host host;
        const auto path = host.folder().write("file", "bytes");
        // Whoever opens the file waits until the lease is given back.
        const int file = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
        if (::fcntl(file, F_SETLEASE, F_WRLCK) != 0) {
            GTEST_SKIP() << "this file system has no leases";
        }
        auto controller = host.makeController({path});
        const auto heard = Host::upload(*controller);
        while (::sem_wait(&isAskedFor) != 0) {
        }
        if (endsMeanwhile) {
            controller->cancel();
            controller.reset();
        }
        ::close(file);
        Host::settle();
        EXPECT_TRUE(pumpUntil([&] { return endsMeanwhile || !heard->results.empty(); }));
        EXPECT_EQ(heard->results.empty(), endsMeanwhile);
        EXPECT_EQ(host.uploadedFiles(), endsMeanwhile ? Files() : Files{"file=bytes"});
    }
    std::signal(SIGIO, SIG_DFL);
}

} // namespace
} // namespace cirrus::tests
