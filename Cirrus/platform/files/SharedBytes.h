#pragma once

#include <memory>
#include <string>

namespace cirrus {

/// Immutable bytes that any number of owners share without copying them. Null: no bytes.
using SharedBytes = std::shared_ptr<const std::string>;

} // namespace cirrus
