// Files and names as some systems have them.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <semaphore.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <sstream>

#include "tests/support/Host.h"

namespace cirrus::tests {
namespace {

/// A write lease on a file: whoever opens the file waits until it is given back.
class Lease {
public:
    explicit Lease(const std::filesystem::path& path)
        : file_(::open(path.c_str(), O_RDWR | O_CLOEXEC)) {
        ::sem_init(&asked_, 0, 0);
        struct sigaction action{};
        action.sa_handler = [](int) { ::sem_post(&asked_); };
        ::sigaction(SIGIO, &action, &before_);
        isHeld = ::fcntl(file_, F_SETLEASE, F_WRLCK) == 0;
    }

    Lease(const Lease&) = delete;
    Lease& operator=(const Lease&) = delete;

    ~Lease() {
        ::close(file_);
        ::sigaction(SIGIO, &before_, nullptr);
    }

    static void waitUntilAsked() {
        while (::sem_wait(&asked_) != 0) {
        }
    }

    void giveBack() const { ::fcntl(file_, F_SETLEASE, F_UNLCK); }

    bool isHeld = false;

private:
    inline static sem_t asked_;
    int file_;
    struct sigaction before_{};
};

TEST(OddInput, NamesThatAreNotUtf8ArriveRepaired) {
    Host host;
    const auto file = host.folder().write("caf\xe9.txt", "bytes");
    ShareController controller({{file}, "R\xff", "D\xff", "a\xff@b", "m\xff"},
                               host.drive().accessToken());
    EXPECT_TRUE(Host::uploadAndWait(controller)->results.at(0));
    const auto drive = host.drive().snapshot();
    EXPECT_EQ(drive.pathOf(drive.files.back()), "R\uFFFD/D\uFFFD/caf\uFFFD.txt");
}

TEST(OddInput, FilesThatReportAnotherSizeAreReadToTheirEnd) {
    Host host;
    std::vector<std::string> expected;
    // The first reports no size, the second a page for a few bytes.
    const std::vector<std::filesystem::path> files{"/proc/version",
                                                   "/sys/devices/system/cpu/possible"};
    for (const auto& file : files) {
        std::ostringstream contents;
        contents << std::ifstream(file).rdbuf();
        expected.push_back(file.filename().string() + "=" + contents.str());
    }
    EXPECT_TRUE(Host::uploadAndWait(*host.makeController(files))->results.at(0));
    EXPECT_EQ(host.uploadedFiles(), expected);
}

TEST(OddInput, FilesUnderALeaseAreReadOnceItIsGivenBack) {
    Host host;
    const auto file = host.folder().write("file", "bytes");
    const Lease lease(file);
    if (!lease.isHeld) {
        GTEST_SKIP() << "this file system has no leases";
    }
    const auto controller = host.makeController({file});
    const auto heard = Host::upload(*controller);
    Lease::waitUntilAsked();
    lease.giveBack();
    while (heard->results.empty()) {
        Host::settle();
    }
    EXPECT_TRUE(heard->results.at(0));
    EXPECT_EQ(host.uploadedFiles(), std::vector<std::string>{"file=bytes"});
}

TEST(OddInput, NothingIsSentAfterAJobThatEndedWhileAFileWasRead) {
    Host host;
    const auto file = host.folder().write("file", "bytes");
    const Lease lease(file);
    if (!lease.isHeld) {
        GTEST_SKIP() << "this file system has no leases";
    }
    auto controller = host.makeController({file});
    const auto heard = Host::upload(*controller);
    Lease::waitUntilAsked();
    controller->cancel();
    controller.reset();
    lease.giveBack();
    Host::settle();
    EXPECT_TRUE(heard->results.empty());
    EXPECT_EQ(host.uploadedFiles(), std::vector<std::string>{});
}

} // namespace
} // namespace cirrus::tests
