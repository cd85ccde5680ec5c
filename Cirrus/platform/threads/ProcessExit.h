#pragma once

namespace cirrus {

/// Runs `handler` when the process exits, and from then on keeps library threads from calling the
/// host. A process that was forked from this one runs nothing: the library's threads and perhaps
/// its locks stayed behind.
void atProcessExit(void (*handler)());

/// False on a library thread once the process is exiting: the host's objects may be gone.
[[nodiscard]] bool mayCallHost();

} // namespace cirrus
