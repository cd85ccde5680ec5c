#include "Cirrus/platform/HeaderFields.h"

#include <algorithm>

namespace cirrus {

namespace {

char lowerCase(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

bool isBlank(char character) {
    return character == ' ' || character == '\t' || character == '\r' || character == '\n';
}

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && isBlank(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && isBlank(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

} // namespace

bool HeaderFields::areEqual(std::string_view left, std::string_view right) {
    return std::ranges::equal(left, right, {}, lowerCase, lowerCase);
}

std::optional<std::string> HeaderFields::value(std::string_view name) const {
    std::optional<std::string> joined;
    for (const auto& [other, value] : fields_) {
        if (!areEqual(other, name)) {
            continue;
        }
        if (joined) {
            joined->append(", ").append(value);
        } else {
            joined = value;
        }
    }
    return joined;
}

bool HeaderFields::contains(std::string_view name) const {
    return std::ranges::any_of(fields_,
                               [name](const auto& field) { return areEqual(field.first, name); });
}

void AnswerHead::take(std::string_view line) {
    if (!isWithin_ && line.starts_with("HTTP/")) {
        isWithin_ = true;
        constexpr std::size_t usualCount = 16;
        fields_.fields_.clear();
        fields_.fields_.reserve(usualCount);
    } else if (isWithin_) {
        // A line of blanks continues the field before.
        isWithin_ = line.find_first_not_of("\r\n") != std::string_view::npos;
        takeField(line);
    }
}

void AnswerHead::takeField(std::string_view line) {
    auto& fields = fields_.fields_;
    if (line.starts_with(' ') || line.starts_with('\t')) {
        const auto text = trimmed(line);
        if (!fields.empty() && !text.empty()) {
            fields.back().second.append(" ").append(text);
        }
        return;
    }
    const auto colon = line.find(':');
    if (colon != std::string_view::npos) {
        fields.emplace_back(trimmed(line.substr(0, colon)), trimmed(line.substr(colon + 1)));
    }
}

HeaderFields AnswerHead::takeFields() {
    isWithin_ = false;
    return std::exchange(fields_, {});
}

} // namespace cirrus
