#include "Cirrus/webservice/RequestUrlType.h"

#include "Cirrus/platform/formats/UrlBuilder.h"
#include "Cirrus/webservice/Endpoints.h"

namespace cirrus {

Url RequestUrlType::resolved() const {
    if (const auto* url = std::get_if<Url>(&value_)) {
        return *url;
    }
    return UrlBuilder::appendingPath(endpoints::api(), std::get<std::string>(value_));
}

} // namespace cirrus
