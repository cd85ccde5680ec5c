#include "Cirrus/platform/http/HeaderFields.h"

#include <algorithm>

namespace cirrus {

std::optional<std::string> HeaderFields::value(std::string_view name) const {
    std::optional<std::string> joined;
    for (const auto& [other, value] : fields_) {
        if (areSameName(other, name)) {
            joined = joined ? *joined + ", " + value : value;
        }
    }
    return joined;
}

bool areSameName(std::string_view left, std::string_view right) {
    const auto lowerCase = [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    };
    return std::ranges::equal(left, right, {}, lowerCase, lowerCase);
}

} // namespace cirrus
