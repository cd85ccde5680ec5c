#include "Cirrus/webservice/Endpoints.h"

namespace cirrus::endpoints {

// Parsed at each call: a static object would be gone for a step that runs while the process exits.
// NOLINTBEGIN(bugprone-unchecked-optional-access): the constants are well-formed

Url api() {
    return *Url::parse("https://www.googleapis.com/drive/v3");
}

Url upload() {
    return *Url::parse("https://www.googleapis.com/upload/drive/v3/files?uploadType=resumable");
}

// NOLINTEND(bugprone-unchecked-optional-access)

} // namespace cirrus::endpoints
