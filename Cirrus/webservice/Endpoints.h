#pragma once

#include "Cirrus/platform/Url.h"

namespace cirrus::endpoints {

/// What every path of the Drive API is relative to.
[[nodiscard]] const Url& api();

/// Where resumable upload sessions are opened.
[[nodiscard]] const Url& upload();

} // namespace cirrus::endpoints
