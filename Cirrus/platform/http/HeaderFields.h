#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace cirrus {

/// Names and values, in their order.
using HeaderFields = std::vector<std::pair<std::string, std::string>>;

/// The value of a field; if several have this name, their values joined by ", ".
[[nodiscard]] std::optional<std::string> headerValue(const HeaderFields& fields,
                                                     const std::string& name);

/// Whether two names of header fields are the same: the case of ASCII letters does not count.
[[nodiscard]] bool areSameName(const std::string& left, const std::string& right);

} // namespace cirrus
