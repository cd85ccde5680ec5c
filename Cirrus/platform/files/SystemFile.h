#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace cirrus {

/// A file opened for reading, by the system's own calls. What fails leaves its code in `errno`.
class SystemFile {
public:
    struct Attributes {
        bool isRegular = false;
        std::uint64_t size = 0;
    };

    /// Does not wait for the writer of a FIFO.
    explicit SystemFile(const std::filesystem::path& path);
    SystemFile(const SystemFile&) = delete;
    SystemFile& operator=(const SystemFile&) = delete;
    ~SystemFile();

    /// Nullopt if they cannot be read, or if the file could not be opened.
    [[nodiscard]] std::optional<Attributes> attributes() const;

    /// Reads some bytes: how many, 0 at the end, nullopt on failure. May fail with EINTR.
    [[nodiscard]] std::optional<std::size_t> read(std::byte* to, std::size_t room) const;

private:
    int descriptor_;
};

/// The size in bytes from the attributes of a file, which need not be readable itself; nullopt if
/// they cannot be read.
[[nodiscard]] std::optional<std::uint64_t> fileSize(const std::filesystem::path& path);

/// The path with slashes between its components; as a rule UTF-8, which POSIX does not demand.
[[nodiscard]] std::string pathText(const std::filesystem::path& path);

} // namespace cirrus
