#include "Cirrus/webservice/RequestUrlType.h"

#include "Cirrus/platform/UrlBuilder.h"
#include "Cirrus/webservice/Endpoints.h"

namespace cirrus {

Url RequestUrlType::resolved() && {
    if (auto* url = std::get_if<Url>(&value_)) {
        return std::move(*url);
    }
    return UrlBuilder::appendingPath(endpoints::api(), std::get<std::string>(value_));
}

} // namespace cirrus
