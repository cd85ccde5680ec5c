#pragma once

#include <curl/curl.h>

#include <chrono>
#include <string_view>

#include "Cirrus/platform/http/TransportError.h"

namespace cirrus {

/// What libcurl's result of a transfer means. `text` is its own description, which may be empty.
[[nodiscard]] TransportError curlError(CURLcode code, std::string_view text,
                                       std::chrono::milliseconds idleLimit);

} // namespace cirrus
