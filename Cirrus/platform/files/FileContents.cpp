#include "Cirrus/platform/files/FileContents.h"

#include <cerrno>
#include <exception>
#include <string_view>
#include <system_error>

#include "Cirrus/platform/formats/Json.h"

namespace cirrus {

namespace {

std::unexpected<FileReadError> systemError(int code) {
    return std::unexpected(FileReadError{code == EINVAL ? "Not a regular file"
                                                        : std::generic_category().message(code)});
}

/// Reads `size` bytes, or to the end if that is 0; fewer at the file's end or on an error.
std::string bytesOf(std::FILE* file, std::size_t size) {
    constexpr std::size_t block = std::size_t{64} * 1024;
    const auto step = size != 0 ? size : block;
    std::string bytes;
    do {
        const auto filled = bytes.size();
        bytes.resize_and_overwrite(filled + step, [&](char* to, std::size_t) {
            return filled + std::fread(to + filled, 1, step, file);
        });
    } while (size == 0 && std::feof(file) == 0 && std::ferror(file) == 0);
    return bytes;
}

} // namespace

Result<SharedBytes, FileReadError> readFile(const std::filesystem::path& path) {
    const auto [stream, size] = openRegularFile(path);
    if (!stream) {
        return systemError(errno);
    }
    if (size > std::string().max_size()) {
        return systemError(ENOMEM);
    }
    try {
        auto bytes = std::make_shared<const std::string>(
            bytesOf(stream.get(), static_cast<std::size_t>(size)));
        return std::ferror(stream.get()) == 0 ? Result<SharedBytes, FileReadError>(std::move(bytes))
                                              : systemError(errno);
    } catch (const std::exception&) {
        return systemError(ENOMEM);
    }
}

std::string lastPathComponent(const std::filesystem::path& path) {
    const auto whole = pathText(path);
    std::string_view text = whole;
    while (text.size() > 1 && text.ends_with('/')) {
        text.remove_suffix(1);
    }
    return repairedUtf8(text.size() > 1 ? text.substr(text.rfind('/') + 1) : text);
}

} // namespace cirrus
