#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>

#include <Cirrus/Url.h>

namespace cirrus {

/// A file resource of Drive; a folder is one too. RecordCoder.h reads and writes it.
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

    static constexpr auto members() {
        return std::tuple(&File::identifier, &File::kind, &File::name, &File::mimeType,
                          &File::webLink, &File::downloadLink);
    }
};

} // namespace cirrus
