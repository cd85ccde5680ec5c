#include "Cirrus/platform/Json.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <utility>

namespace cirrus {

namespace {

constexpr std::size_t deepestNesting = 256;

/// Builds a `JsonValue` from the parser's events, so that no second tree is ever made.
class TreeBuilder final : public nlohmann::json_sax<nlohmann::json> {
public:
    bool null() override { return add(nullptr); }

    bool boolean(bool value) override { return add(value); }

    bool number_integer(number_integer_t value) override { return add(std::int64_t{value}); }

    bool number_unsigned(number_unsigned_t value) override {
        return std::in_range<std::int64_t>(value) ? add(static_cast<std::int64_t>(value))
                                                  : add(std::uint64_t{value});
    }

    bool number_float(number_float_t value, const string_t&) override { return add(value); }

    bool string(string_t& value) override { return add(std::move(value)); }

    bool binary(binary_t&) override { return false; }

    bool start_object(std::size_t) override { return open(JsonValue::Object{}); }

    bool key(string_t& value) override {
        key_ = std::move(value);
        return true;
    }

    bool end_object() override { return close(); }

    bool start_array(std::size_t) override { return open(JsonValue::Array{}); }

    bool end_array() override { return close(); }

    bool parse_error(std::size_t position, const std::string&,
                     const nlohmann::detail::exception&) override {
        reason_ = "not JSON at byte " + std::to_string(position);
        return false;
    }

    [[nodiscard]] JsonValue takeRoot() { return std::move(root_); }

    [[nodiscard]] JsonError error() const { return {reason_}; }

private:
    bool open(JsonValue container) {
        if (open_.size() == deepestNesting) {
            reason_ = "JSON nested too deeply";
            return false;
        }
        open_.push_back(&place(std::move(container)));
        return true;
    }

    bool close() {
        open_.pop_back();
        return true;
    }

    bool add(JsonValue value) {
        place(std::move(value));
        return true;
    }

    /// Puts a value where it belongs, and stays while it is open.
    JsonValue& place(JsonValue value) {
        if (open_.empty()) {
            return root_ = std::move(value);
        }
        if (auto* array = open_.back()->as<JsonValue::Array>()) {
            return array->emplace_back(std::move(value));
        }
        auto& object = *open_.back()->as<JsonValue::Object>();
        return object.insert_or_assign(std::move(key_), std::move(value)).first->second;
    }

    JsonValue root_;
    std::vector<JsonValue*> open_; ///< from the root to where the parser is
    std::string key_;
    std::string reason_;
};

nlohmann::json toLibrary(const JsonValue& value);

nlohmann::json toLibrary(const JsonValue::Array& array) {
    auto result = nlohmann::json::array();
    for (const auto& element : array) {
        result.push_back(toLibrary(element));
    }
    return result;
}

nlohmann::json toLibrary(const JsonValue::Object& object) {
    auto result = nlohmann::json::object();
    for (const auto& [key, member] : object) {
        result[key] = toLibrary(member);
    }
    return result;
}

template <class Scalar>
nlohmann::json toLibrary(const Scalar& scalar) {
    return scalar;
}

nlohmann::json toLibrary(const JsonValue& value) {
    return value.visit([](const auto& held) { return toLibrary(held); });
}

} // namespace

const JsonValue* JsonValue::member(std::string_view key) const {
    const auto* object = as<Object>();
    if (object == nullptr) {
        return nullptr;
    }
    const auto found = object->find(key);
    return found != object->end() ? &found->second : nullptr;
}

std::optional<std::int64_t> JsonValue::wholeNumber() const {
    if (const auto* whole = as<std::int64_t>()) {
        return *whole;
    }
    // Neither bound counts: the upper one is the first double that no longer fits, and to the lower
    // one the parser rounds whole numbers that do not fit.
    constexpr double lowest = -9223372036854775808.0;
    constexpr double tooHigh = 9223372036854775808.0;
    const auto* real = as<double>();
    if (real == nullptr || *real <= lowest || *real >= tooHigh || std::trunc(*real) != *real) {
        return std::nullopt;
    }
    return static_cast<std::int64_t>(*real);
}

Result<JsonValue, JsonError> parseJson(std::string_view text) {
    TreeBuilder builder;
    if (!nlohmann::json::sax_parse(text.begin(), text.end(), &builder)) {
        return std::unexpected(builder.error());
    }
    return builder.takeRoot();
}

std::optional<std::string> writeJson(const JsonValue& value) {
    try {
        return toLibrary(value).dump(2);
    } catch (const nlohmann::json::exception&) {
        return std::nullopt;
    }
}

} // namespace cirrus
