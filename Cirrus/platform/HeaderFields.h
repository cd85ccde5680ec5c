#pragma once

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace cirrus {

/// Header fields in their order. Names count without regard to the case of ASCII letters.
class HeaderFields {
public:
    using Field = std::pair<std::string, std::string>;

    HeaderFields() = default;

    HeaderFields(std::initializer_list<Field> fields) : fields_(fields) {}

    void add(std::string name, std::string value) {
        constexpr std::size_t fewFields = 4;
        fields_.reserve(std::max(fields_.size(), fewFields));
        fields_.emplace_back(std::move(name), std::move(value));
    }

    /// The value of a field; the values joined by ", " when there are several of the name.
    [[nodiscard]] std::optional<std::string> value(std::string_view name) const;

    [[nodiscard]] bool contains(std::string_view name) const;

    [[nodiscard]] bool empty() const { return fields_.empty(); }

    [[nodiscard]] auto begin() const { return fields_.begin(); }

    [[nodiscard]] auto end() const { return fields_.end(); }

    [[nodiscard]] static bool areEqual(std::string_view left, std::string_view right);

    friend bool operator==(const HeaderFields&, const HeaderFields&) = default;

private:
    friend class AnswerHead;

    std::vector<Field> fields_;
};

/// Collects the header fields of an answer from its lines.
class AnswerHead {
public:
    /// Takes the next line, its end included. Where several heads come, as after an interim answer,
    /// the last counts; trailers do not.
    void take(std::string_view line);

    /// What has been collected; begins anew.
    [[nodiscard]] HeaderFields takeFields();

private:
    void takeField(std::string_view line);

    HeaderFields fields_;
    bool isWithin_ = false;
};

} // namespace cirrus
