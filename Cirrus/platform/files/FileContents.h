#pragma once

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include <Cirrus/Error.h>

#include "Cirrus/platform/files/SharedBytes.h"

namespace cirrus {

/// Why a file could not be read, in the system's words.
struct FileReadError {
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

/// The size in bytes from the attributes of a file, which need not be readable itself; nullopt if
/// they cannot be read.
[[nodiscard]] std::optional<std::uint64_t> fileSize(const std::filesystem::path& path);

// What the functions above need of the system; each has its own SystemFile.cpp.

struct OpenFile {
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> stream;
    std::uint64_t size = 0; ///< in bytes, when it was opened
};

/// Opens a regular file for reading; no child process inherits it. A null stream, with the reason
/// in `errno`, if that fails; EINVAL if it is something else.
[[nodiscard]] OpenFile openRegularFile(const std::filesystem::path& path);

/// The path with slashes between its components; as a rule UTF-8, which POSIX does not demand.
[[nodiscard]] std::string pathText(const std::filesystem::path& path);

} // namespace cirrus
