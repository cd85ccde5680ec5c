#pragma once

#include <string>
#include <string_view>

#include "emulator/drive/Json.h"
#include <Cirrus/emulator/HttpMessage.h>

namespace cirrus::emulator {

/// An answer with this value as its body.
[[nodiscard]] Answer jsonAnswer(unsigned status, const Json& value);

/// The part of a request that an error is about, e.g. the parameter `q`.
struct ErrorLocation {
    std::string type;
    std::string name;
};

/// An answer in Google's format for errors. Without a location it names none.
[[nodiscard]] Answer errorAnswer(unsigned status, const std::string& reason,
                                 const std::string& message, const ErrorLocation& location = {});

[[nodiscard]] Answer unauthenticated();
[[nodiscard]] Answer fileNotFound(const std::string& id);
[[nodiscard]] Answer parseError();

} // namespace cirrus::emulator
