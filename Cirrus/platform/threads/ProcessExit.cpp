#include "Cirrus/platform/threads/ProcessExit.h"

#include <unistd.h>

#include <atomic>
#include <cstdlib>

#include "Cirrus/platform/threads/LibraryThread.h"

namespace cirrus {

namespace {

std::atomic<bool> isExiting = false;
std::atomic<pid_t> process = 0;
std::atomic<void (*)()> exitHandler = nullptr;

} // namespace

void atProcessExit(void (*handler)()) {
    process = ::getpid();
    exitHandler = handler;
    static_cast<void>(std::atexit([] {
        if (process == ::getpid()) {
            isExiting = true;
            exitHandler.load()();
        }
    }));
}

bool mayCallHost() {
    return !(isExiting && isLibraryThread());
}

} // namespace cirrus
