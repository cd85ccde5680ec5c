#include "Cirrus/platform/threads/SignalMask.h"

namespace cirrus {

void withSignalsBlocked(const std::function<void()>& action) {
    action(); // Windows has no signals that could interrupt a thread
}

} // namespace cirrus
