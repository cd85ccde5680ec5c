#include "Cirrus/webservice/RequestUrlType.h"

#include "Cirrus/platform/UrlBuilder.h"
#include "Cirrus/webservice/Endpoints.h"

namespace cirrus {

Url RequestUrlType::resolved() const {
    if (const auto* url = std::get_if<Url>(&value_)) {
        return *url;
    }
    static const Url base = Url::parse(endpoints::api).value();
    return UrlBuilder::appendingPath(base, std::get<std::string>(value_));
}

} // namespace cirrus
