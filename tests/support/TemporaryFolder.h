#pragma once

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

namespace cirrus::tests {

/// A new folder that goes away with this object, with all that is in it.
class TemporaryFolder {
public:
    TemporaryFolder() {
        auto pattern = (std::filesystem::temp_directory_path() / "cirrus-XXXXXX").string();
        path_ = ::mkdtemp(pattern.data());
    }

    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    ~TemporaryFolder() { std::filesystem::remove_all(path_); }

    [[nodiscard]] const std::filesystem::path& path() const { return path_; }

    /// Writes a file and returns where it is.
    [[nodiscard]] std::filesystem::path write(const std::filesystem::path& name,
                                              std::string_view contents) const {
        auto file = path_ / name;
        std::ofstream(file, std::ios::binary) << contents;
        return file;
    }

private:
    std::filesystem::path path_;
};

} // namespace cirrus::tests
