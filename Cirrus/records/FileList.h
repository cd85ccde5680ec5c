#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "Cirrus/records/File.h"

namespace cirrus {

/// The answer of a file search, as it came: one page.
struct FileList {
    enum class CodingKeys { kind, incompleteSearch, files };

    friend constexpr auto keyTexts(CodingKeys) {
        return std::to_array<std::string_view>({"kind", "incompleteSearch", "files"});
    }

    std::string kind;
    bool incompleteSearch = false;
    std::vector<File> files;

    static constexpr auto members() {
        return std::tuple(&FileList::kind, &FileList::incompleteSearch, &FileList::files);
    }
};

} // namespace cirrus
