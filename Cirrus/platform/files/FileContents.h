#pragma once

#include <filesystem>
#include <string>

#include <Cirrus/Error.h>

#include "Cirrus/platform/files/SharedBytes.h"

namespace cirrus {

/// Why a file could not be read: the system's error code and its description.
struct FileReadError {
    int code = 0;
    std::string text;

    [[nodiscard]] std::string diagnosticText() const { return text; }
};

/// Reads a whole file into memory. Blocks. Fails if it is not a regular file (a FIFO is refused
/// without waiting for its writer), cannot be opened or read, or does not fit into memory. If the
/// file shrinks while it is read, the result is what was read until its end; what is appended later
/// is left out. A file that reports no size, as those under /proc do, is read until its end.
[[nodiscard]] Result<SharedBytes, FileReadError> readFile(const std::filesystem::path& path);

/// The last component of a path, with U+FFFD for what is not UTF-8 in it; trailing slashes do not
/// count. The root is its own name.
[[nodiscard]] std::string lastPathComponent(const std::filesystem::path& path);

} // namespace cirrus
