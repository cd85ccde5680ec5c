#pragma once

#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace cirrus {

/// Header fields in their order. Names are compared without regard to the case of ASCII letters.
class HeaderFields {
public:
    using Field = std::pair<std::string, std::string>;

    HeaderFields() = default;

    HeaderFields(std::initializer_list<Field> fields) : fields_(fields) {}

    void add(std::string name, std::string value) {
        fields_.emplace_back(std::move(name), std::move(value));
    }

    /// The value of a field; if several have this name, their values joined by ", ".
    [[nodiscard]] std::optional<std::string> value(std::string_view name) const;

    [[nodiscard]] auto begin() const { return fields_.begin(); }

    [[nodiscard]] auto end() const { return fields_.end(); }

private:
    std::vector<Field> fields_;
};

/// Whether two names of header fields are the same.
[[nodiscard]] bool areSameName(std::string_view left, std::string_view right);

} // namespace cirrus
