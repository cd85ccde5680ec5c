// The library in a process that is short of something, that lasts or that forks. What needs a
// process of its own runs in a child that starts anew.

#include <gtest/gtest.h>
#include <malloc.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>

#include "Cirrus/platform/threads/Process.h"
#include "tests/support/Host.h"

namespace cirrus::tests {
namespace {

constexpr int kept = 7; ///< the exit status of a process in which every promise was kept

/// A job while `refuse` is in force fails with words for the user; the next one works.
[[noreturn]] void shareWhile(void (*refuse)(), void (*permit)()) {
    Host host;
    const auto file = host.folder().write("file", "bytes");
    refuse();
    const auto first = Host::uploadAndWait(*host.makeController({file}));
    permit();
    const auto second = Host::uploadAndWait(*host.makeController({file}));
    const bool hasFailed = first->failureText() == "Something went wrong. Please try again.";
    std::_Exit(hasFailed && second->results.at(0).has_value() ? kept : 1);
}

void setStackSize(std::size_t size) {
    pthread_attr_t attributes;
    ::pthread_attr_init(&attributes);
    ::pthread_attr_setstacksize(&attributes, size);
    ::pthread_setattr_default_np(&attributes);
}

void setDescriptorLimit(rlim_t limit) {
    rlimit limits{};
    ::getrlimit(RLIMIT_NOFILE, &limits);
    limits.rlim_cur = std::min(limit, limits.rlim_max);
    ::setrlimit(RLIMIT_NOFILE, &limits);
}

TEST(ProcessTest, GoesOnAfterAJobThatFoundNoThreadOrNoDescriptor) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(shareWhile([] { setStackSize(1UL << 50U); }, [] { setStackSize(1UL << 20U); }),
                testing::ExitedWithCode(kept), "");
#ifndef __SANITIZE_ADDRESS__ // which needs descriptors itself, to look at memory
    EXPECT_EXIT(shareWhile([] { setDescriptorLimit(3); }, [] { setDescriptorLimit(1000); }),
                testing::ExitedWithCode(kept), "");
#endif
}

/// Threads, open descriptors and allocated bytes of the process.
std::array<std::ptrdiff_t, 3> usage() {
    const auto entries = [](const char* path) {
        return std::distance(std::filesystem::directory_iterator(path), {});
    };
    return {entries("/proc/self/task"), entries("/proc/self/fd"),
            static_cast<std::ptrdiff_t>(::mallinfo2().uordblks)};
}

TEST(Endurance, AThousandJobsLeaveNoMoreThanTheFirstFewHundred) {
    std::array<std::ptrdiff_t, 3> before{};
    for (int job = 0; job < 1000;) {
        before = job == 300 ? usage() : before;
        Host host;
        Configuration::setLog(makeLogSink([](auto&&...) {}));
        const auto file = host.folder().write("file", "12");
        do {
            ShareController controller({{file}, "Root", "Job"},
                                       job % 3 == 0 ? "" : host.drive().accessToken());
            const auto heard = Host::uploadAndWait(controller);
            ASSERT_EQ(heard->failureText() == "(no failure)", job % 3 != 0);
        } while (++job % 100 != 0);
    }
    const auto after = usage();
    EXPECT_LE(after[0], before[0]) << "threads";
    // Connections to Drives that are gone, which libcurl finds out late.
    const auto stale = std::max<std::ptrdiff_t>(after[1] - before[1], 0);
    EXPECT_LE(stale, 10) << "descriptors";
    // What starting Drives leaves, and what TLS keeps for each of those connections.
    EXPECT_LE(after[2] - before[2], 128 * 1024 * (1 + 2 * stale)) << "bytes";
}

TEST(ProcessTest, LeavesAForkedChildAlone) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto exitInBoth = [] {
        // The handler would wait for threads, or for locks that they held, which do not exist in
        // the child. This one says where it runs.
        static const auto parent = ::getpid();
        atProcessExit([] { std::_Exit(::getpid() == parent ? kept : 1); });
        if (::fork() == 0) {
            std::exit(2);
        }
        int status = 0;
        ::wait(&status);
        WEXITSTATUS(status) == 2 ? std::exit(3) : std::_Exit(4);
    };
    EXPECT_EXIT(exitInBoth(), testing::ExitedWithCode(kept), "");
}

} // namespace
} // namespace cirrus::tests
