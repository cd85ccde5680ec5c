#pragma once

#include <cstdint>
#include <functional>

namespace cirrus {

/// The number of this process; 0 once the system has ended all threads but the calling one.
[[nodiscard]] std::uint64_t currentProcess();

/// Keeps the library in memory until the process ends, where no linker's flag does: its threads may
/// still run when a plug-in host unloads it.
void keepLibraryLoaded();

/// Runs `handler` when the process exits, and from then on keeps library threads from calling the
/// host. A process that was forked from this one runs nothing: the library's threads and perhaps
/// its locks stayed behind.
void atProcessExit(void (*handler)());

/// False on a library thread once the process is exiting: the host's objects may be gone.
[[nodiscard]] bool mayCallHost();

/// Calls `action` while every signal is blocked on this thread.
void withSignalsBlocked(const std::function<void()>& action);

} // namespace cirrus
