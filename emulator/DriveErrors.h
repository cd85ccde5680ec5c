#pragma once

#include <string>
#include <string_view>

#include "Cirrus/platform/Json.h"
#include "emulator/HttpMessage.h"

namespace cirrus::emulator {

/// An answer with this value as its body.
[[nodiscard]] Answer jsonAnswer(unsigned status, const JsonValue& value);

/// Where in a request an error lies, e.g. the parameter `q`.
struct ErrorLocation {
    std::string type;
    std::string name;
};

/// An answer with Google's error envelope.
[[nodiscard]] Answer errorAnswer(unsigned status, const std::string& reason,
                                 const std::string& message, const ErrorLocation& location = {});

[[nodiscard]] Answer unauthenticated();
[[nodiscard]] Answer fileNotFound(const std::string& id);
[[nodiscard]] Answer parseError();

} // namespace cirrus::emulator
