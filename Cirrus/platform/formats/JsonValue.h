#pragma once

#include <nlohmann/json_fwd.hpp>

namespace cirrus {

/// One JSON value with everything below it. Headers that only name the type include this one; the
/// type itself is in Json.h.
using JsonValue = nlohmann::json;

} // namespace cirrus
