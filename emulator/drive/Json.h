#pragma once

#include <nlohmann/json.hpp>

#include <Cirrus/emulator/HttpMessage.h>

namespace cirrus::emulator {

/// One JSON value. The members of an object keep their order.
using Json = nlohmann::ordered_json;

/// An answer with this value as its body.
[[nodiscard]] inline Answer jsonAnswer(unsigned status, const Json& value) {
    return {.status = status,
            .headers = {{"Content-Type", "application/json; charset=UTF-8"}},
            // Ids and names that are quoted from a request need not be UTF-8.
            .body = value.dump(2, ' ', false, Json::error_handler_t::replace)};
}

} // namespace cirrus::emulator
