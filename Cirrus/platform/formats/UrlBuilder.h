#pragma once

#include <map>
#include <string>
#include <string_view>

#include <Cirrus/Url.h>

namespace cirrus {

/// Query items of a URL by name; names and values as plain text, not yet percent-encoded.
using QueryItems = std::map<std::string, std::string>;

/// Builds URLs from URLs. The result is well-formed whatever the added text contains.
class UrlBuilder {
public:
    /// `url`, a "/" and `path`. A "/" in `path` separates segments; what may not
    /// appear in a path is percent-encoded. `url` must name a host and have no query.
    [[nodiscard]] static Url appendingPath(const Url& url, std::string_view path);

    /// `url` with these items, at least one, in place of its query. All but unreserved characters
    /// of a value are percent-encoded, so that every value survives as data.
    [[nodiscard]] static Url replacingQuery(const Url& url, const QueryItems& items);

    /// The path and query of an absolute URL, unchanged, as the first line of a request has them.
    [[nodiscard]] static std::string requestTarget(const Url& url);

    /// Whether the URL is absolute, its scheme is "https" (in any case) and it names a host.
    [[nodiscard]] static bool isHttps(const Url& url);
};

} // namespace cirrus
