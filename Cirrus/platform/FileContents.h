#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "Cirrus/platform/Data.h"
#include "Cirrus/platform/Error.h"

namespace cirrus {

/// Why a file could not be read: the system's code and words.
struct FileReadError {
    int code = 0;
    std::string text;

    [[nodiscard]] std::string diagnosticText() const { return text; }
};

/// The size of the file at `path` in bytes, from its attributes; nothing when they cannot be read.
[[nodiscard]] std::optional<std::uint64_t> fileSize(const std::filesystem::path& path);

/// Reads a whole regular file into memory, on the calling thread. Fails on anything that is no
/// regular file (without ever waiting for it), on a file that cannot be opened or read, and on one
/// that does not fit into memory. A file that changes meanwhile gives what could be read of the
/// size that it had when it was opened.
[[nodiscard]] Result<Data, FileReadError> readFile(const std::filesystem::path& path);

/// The last component of a path, as it names the file: a trailing "/" does not count.
[[nodiscard]] std::string lastPathComponent(const std::filesystem::path& path);

} // namespace cirrus
