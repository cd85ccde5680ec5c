#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include <Cirrus/Error.h>
#include <Cirrus/Url.h>

#include "Cirrus/platform/formats/JsonValue.h"
#include "Cirrus/records/CodingKey.h"
#include "Cirrus/records/DecodingError.h"

namespace cirrus {

/// A file resource of Drive; a folder is one too.
struct File {
    enum class CodingKeys { identifier, kind, name, mimeType, webLink, downloadLink };

    friend constexpr auto keyTexts(CodingKeys) {
        return std::to_array<std::string_view>(
            {"id", "kind", "name", "mimeType", "webViewLink", "webContentLink"});
    }

    std::string identifier;
    std::string kind;
    std::string name;
    std::string mimeType;
    std::optional<Url> webLink;
    std::optional<Url> downloadLink;

    [[nodiscard]] static Result<File, DecodingError> decode(const JsonValue& json);

    /// The mirror of `decode`; an absent link has no key.
    [[nodiscard]] JsonValue encode() const;

    friend bool operator==(const File&, const File&) = default;
};

} // namespace cirrus
