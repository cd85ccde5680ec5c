#include "Cirrus/webservice/Endpoints.h"

#include <string_view>

namespace cirrus::endpoints {

namespace {

/// Never destroyed: a step may still run while the process ends.
const Url& lasting(std::string_view constant) {
    // NOLINTNEXTLINE(bugprone-unchecked-optional-access): the constants are well-formed
    return *new Url(*Url::parse(constant));
}

} // namespace

const Url& api() {
    static const Url& url = lasting("https://www.googleapis.com/drive/v3");
    return url;
}

const Url& upload() {
    static const Url& url =
        lasting("https://www.googleapis.com/upload/drive/v3/files?uploadType=resumable");
    return url;
}

} // namespace cirrus::endpoints
