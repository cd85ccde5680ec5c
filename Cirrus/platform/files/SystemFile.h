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

    /// The size from the attributes of a file that need not be readable; nullopt if there is none.
    [[nodiscard]] static std::optional<std::uint64_t> size(const std::filesystem::path& path);

    /// The path with slashes between its components; as a rule UTF-8, which POSIX does not demand.
    [[nodiscard]] static std::string pathText(const std::filesystem::path& path);

private:
    int descriptor_;
};

} // namespace cirrus
