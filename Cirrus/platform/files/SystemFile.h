#pragma once

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace cirrus {

/// Opens a regular file for reading; no child process inherits it. Null, with the reason in
/// `errno`, if that fails. EINVAL: it is something else; the writer of a FIFO is not waited for.
[[nodiscard]] std::unique_ptr<std::FILE, int (*)(std::FILE*)>
openRegularFile(const std::filesystem::path& path);

/// The size in bytes from the attributes of a file, which need not be readable itself; nullopt if
/// they cannot be read.
[[nodiscard]] std::optional<std::uint64_t> fileSize(const std::filesystem::path& path);

/// The path with slashes between its components; as a rule UTF-8, which POSIX does not demand.
[[nodiscard]] std::string pathText(const std::filesystem::path& path);

} // namespace cirrus
