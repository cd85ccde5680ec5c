#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

namespace cirrus::emulator {

/// One JSON value. The members of an object keep their order.
using Json = nlohmann::ordered_json;

/// The member of an object; nullopt if the key is missing or the value is JSON's null. Throws
/// `Json::exception` if the value has another type.
template <class Value>
[[nodiscard]] std::optional<Value> memberOf(const Json& object, std::string_view key) {
    const auto found = object.find(key);
    return found != object.end() && !found->is_null() ? std::optional(found->get<Value>())
                                                      : std::nullopt;
}

} // namespace cirrus::emulator
