#include "Cirrus/platform/formats/UrlBuilder.h"
#include "Cirrus/webservice/RequestUrlType.h"

namespace cirrus {

// Parsed at each call: a static object would be gone for a step that runs while the process exits.
// NOLINTBEGIN(bugprone-unchecked-optional-access): the constants are well-formed

Url RequestUrlType::resolved() const {
    if (const auto* url = std::get_if<Url>(&value_)) {
        return *url;
    }
    return UrlBuilder::appendingPath(*Url::parse("https://www.googleapis.com/drive/v3"),
                                     std::get<std::string>(value_));
}

Url uploadEndpoint() {
    return *Url::parse("https://www.googleapis.com/upload/drive/v3/files?uploadType=resumable");
}

// NOLINTEND(bugprone-unchecked-optional-access)

} // namespace cirrus
