#pragma once

#include <Cirrus/Url.h>

namespace cirrus::endpoints {

/// The base of every path of the Drive API.
[[nodiscard]] Url api();

/// Where resumable upload sessions are opened.
[[nodiscard]] Url upload();

} // namespace cirrus::endpoints
