#pragma once

#include <map>
#include <string>
#include <string_view>

#include "Cirrus/platform/Url.h"

namespace cirrus {

/// Query items of a URL by name; names and values as plain text, not yet percent-encoded.
using QueryItems = std::map<std::string, std::string>;

/// Makes URLs out of URLs. Whatever the added text holds, the result is well-formed.
class UrlBuilder {
public:
    /// `url` with `path` after one more "/". A "/" in `path` separates segments; what may not
    /// appear in a path is percent-encoded. `url` must name a host and have no query.
    [[nodiscard]] static Url appendingPath(const Url& url, std::string_view path);

    /// `url` with these items, at least one, as its whole query. All but unreserved characters of a
    /// value are percent-encoded, so that every value survives as data.
    [[nodiscard]] static Url replacingQuery(const Url& url, const QueryItems& items);

    /// Whether the URL is absolute, its scheme is "https" (in any case) and it names a host.
    [[nodiscard]] static bool isHttps(const Url& url);
};

} // namespace cirrus
