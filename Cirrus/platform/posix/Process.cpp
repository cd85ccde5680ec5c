#include "Cirrus/platform/threads/Process.h"

#include <unistd.h>

namespace cirrus {

std::uint64_t currentProcess() {
    return static_cast<std::uint64_t>(::getpid());
}

void keepLibraryLoaded() {}

} // namespace cirrus
