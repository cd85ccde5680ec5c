#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
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

/// Reads whole files into memory, one after another, on one thread at a time. Memory that nobody
/// uses any more is used again for a file of about the same size: what large files cost is, for a
/// good part, memory that the system has to provide anew.
class FileReader {
public:
    /// Reads a regular file. Fails on anything that is no regular file (without ever waiting for
    /// it), on a file that cannot be opened or read, and on one that does not fit into memory. A
    /// file that changes meanwhile gives what could be read of the size that it had when it was
    /// opened.
    [[nodiscard]] Result<Data, FileReadError> read(const std::filesystem::path& path);

private:
    bool reserve(std::size_t size);

    std::shared_ptr<std::byte[]> bytes_;
    std::size_t capacity_ = 0;
};

/// The last component of a path, as it names the file: a trailing "/" does not count.
[[nodiscard]] std::string lastPathComponent(const std::filesystem::path& path);

} // namespace cirrus
