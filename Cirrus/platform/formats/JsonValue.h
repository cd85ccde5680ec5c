#pragma once

#include <nlohmann/json_fwd.hpp>

namespace cirrus {

/// One JSON value with everything below it, for headers that only name it; see Json.h.
using JsonValue = nlohmann::json;

} // namespace cirrus
