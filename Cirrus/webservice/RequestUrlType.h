#pragma once

#include <string>
#include <utility>
#include <variant>

#include <Cirrus/Url.h>

namespace cirrus {

/// The address of one request. What it starts with is in Endpoints.cpp.
class RequestUrlType {
public:
    /// Path segments below the base of the Drive API; the text may contain "/".
    [[nodiscard]] static RequestUrlType path(std::string text) {
        return RequestUrlType(std::move(text));
    }

    /// A whole URL, used unchanged.
    [[nodiscard]] static RequestUrlType url(Url url) { return RequestUrlType(std::move(url)); }

    [[nodiscard]] Url resolved() const;

private:
    using Value = std::variant<std::string, Url>;

    explicit RequestUrlType(Value value) : value_(std::move(value)) {}

    Value value_;
};

/// Where resumable upload sessions are opened.
[[nodiscard]] Url uploadEndpoint();

} // namespace cirrus
