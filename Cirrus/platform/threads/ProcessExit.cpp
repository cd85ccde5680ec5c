#include <atomic>
#include <cstdlib>

#include "Cirrus/platform/threads/LibraryThread.h"
#include "Cirrus/platform/threads/Process.h"

namespace cirrus {

namespace {

std::atomic<bool> isExiting = false;
std::atomic<std::uint64_t> process = 0;
std::atomic<void (*)()> exitHandler = nullptr;

} // namespace

void atProcessExit(void (*handler)()) {
    process = currentProcess();
    exitHandler = handler;
    static_cast<void>(std::atexit([] {
        if (process == currentProcess()) {
            isExiting = true;
            exitHandler.load()();
        }
    }));
}

bool mayCallHost() {
    return !(isExiting && isLibraryThread());
}

} // namespace cirrus
