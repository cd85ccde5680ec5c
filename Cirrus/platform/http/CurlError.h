#pragma once

#include <curl/curl.h>

#include <chrono>
#include <string>

#include "Cirrus/platform/http/HttpTransfer.h"

namespace cirrus {

/// What libcurl's result of a transfer means. `text` is its own description, which may be empty.
[[nodiscard]] TransportError curlError(CURLcode code, const std::string& text,
                                       std::chrono::milliseconds idleLimit);

} // namespace cirrus
