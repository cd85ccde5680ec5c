#pragma once

#include <string_view>

namespace cirrus::endpoints {

/// What every path of the Drive API is relative to.
inline constexpr std::string_view api = "https://www.googleapis.com/drive/v3";

/// Where resumable upload sessions are opened.
inline constexpr std::string_view upload =
    "https://www.googleapis.com/upload/drive/v3/files?uploadType=resumable";

} // namespace cirrus::endpoints
