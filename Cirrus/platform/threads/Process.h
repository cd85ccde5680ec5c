#pragma once

#include <cstdint>
#include <functional>

namespace cirrus {

/// The number of this process; 0 once the system has ended all threads but the calling one.
[[nodiscard]] std::uint64_t currentProcess();

/// Keeps the library in memory until the process ends, where no linker's flag does: its threads may
/// still run when a plug-in host unloads it.
void keepLibraryLoaded();

/// Calls `action` while every signal is blocked on this thread.
void withSignalsBlocked(const std::function<void()>& action);

} // namespace cirrus
