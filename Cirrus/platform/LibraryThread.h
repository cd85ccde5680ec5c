#pragma once

#include <functional>

namespace cirrus {

/// Starts a thread of the library, detached, with every signal blocked: signals are the host's.
void startLibraryThread(std::function<void()> body);

/// Whether the calling thread was started by `startLibraryThread`.
[[nodiscard]] bool isLibraryThread();

} // namespace cirrus
