#include "Cirrus/platform/http/HeaderFields.h"

#include <curl/curl.h>

namespace cirrus {

std::optional<std::string> headerValue(const HeaderFields& fields, const std::string& name) {
    std::optional<std::string> joined;
    for (const auto& [other, value] : fields) {
        if (areSameName(other, name)) {
            joined = joined ? *joined + ", " + value : value;
        }
    }
    return joined;
}

bool areSameName(const std::string& left, const std::string& right) {
    return curl_strequal(left.c_str(), right.c_str()) != 0;
}

} // namespace cirrus
