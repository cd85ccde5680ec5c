#include "Cirrus/platform/threads/Process.h"

#include <windows.h>
#include <winternl.h>

extern "C" BOOLEAN NTAPI RtlDllShutdownInProgress();

namespace cirrus {

std::uint64_t currentProcess() {
    // Windows ends the other threads before it tells a DLL of the end of the process.
    return ::RtlDllShutdownInProgress() != 0 ? 0 : ::GetCurrentProcessId();
}

void keepLibraryLoaded() {
    HMODULE itself = nullptr;
    const auto* const inside = reinterpret_cast<const wchar_t*>(&keepLibraryLoaded);
    ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN,
                         inside, &itself);
}

void withSignalsBlocked(const std::function<void()>& action) {
    action(); // Windows has no signals that could interrupt a thread
}

} // namespace cirrus
