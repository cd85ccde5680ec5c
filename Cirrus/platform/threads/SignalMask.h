#pragma once

#include <functional>

namespace cirrus {

/// Calls `action` while every signal is blocked on this thread.
void withSignalsBlocked(const std::function<void()>& action);

} // namespace cirrus
