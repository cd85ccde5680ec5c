// A thousand jobs, every third of them refused, leave no more threads, descriptors and memory
// behind than the first few hundred.

#include <malloc.h>

#include <algorithm>
#include <array>
#include <iostream>

#include <Cirrus/Cirrus.h>
#include <Cirrus/emulator/LocalDrive.h>

#include "tests/support/TemporaryFolder.h"
#include "tests/support/Waiting.h"

using namespace cirrus;

/// Threads, open descriptors and allocated bytes of the process.
static std::array<std::ptrdiff_t, 3> usage() {
    const auto entries = [](const char* path) {
        return std::distance(std::filesystem::directory_iterator(path), {});
    };
    return {entries("/proc/self/task"), entries("/proc/self/fd"),
            static_cast<std::ptrdiff_t>(::mallinfo2().uordblks)};
}

int main() {
    const tests::TemporaryFolder folder;
    const auto file = folder.write("file", "12");
    std::array<std::ptrdiff_t, 3> before{};
    for (int job = 0; job < 1000;) {
        before = job == 300 ? usage() : before;
        const auto drive = emulator::LocalDrive::start().value();
        do {
            bool isDone = false;
            ShareController controller({{file}, "Root", "Job"},
                                       job % 3 == 0 ? "" : (*drive)->accessToken());
            controller.upload({}, [&isDone](const auto&) { isDone = true; });
            if (!tests::pumpUntil([&isDone] { return isDone; })) {
                return 1;
            }
        } while (++job % 100 != 0);
    }
    const auto after = usage();
    // Connections to Drives that are gone, which libcurl finds out late, with what TLS keeps for
    // each.
    constexpr std::ptrdiff_t mostKept = 10;
    const auto kept = std::max<std::ptrdiff_t>(after[1] - before[1], 0);
    constexpr std::ptrdiff_t tolerance = 128 * 1024; // what starting Drives leaves, and more
    std::cout << after[0] - before[0] << " threads, " << after[1] - before[1] << " descriptors, "
              << after[2] - before[2] << " bytes more\n";
    const bool isSound = after[0] <= before[0] && kept <= mostKept &&
                         after[2] <= before[2] + tolerance * (1 + 2 * kept);
    return isSound ? 0 : 1;
}
