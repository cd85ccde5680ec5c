#include "Cirrus/platform/files/FileContents.h"

#include <cerrno>
#include <new>
#include <string_view>
#include <system_error>

#include "Cirrus/platform/files/SystemFile.h"
#include "Cirrus/platform/formats/Json.h"

namespace cirrus {

namespace {

std::unexpected<FileReadError> systemError(int code) {
    return std::unexpected(
        FileReadError{.code = code, .text = std::generic_category().message(code)});
}

/// Reads until `size` bytes are there or the file ends; the number read, or nullopt with `errno`.
std::optional<std::size_t> readUpTo(std::size_t size, const SystemFile& file, std::byte* to) {
    std::size_t filled = 0;
    while (filled < size) {
        const auto count = file.read(to + filled, size - filled);
        if (!count && errno != EINTR) {
            return std::nullopt;
        }
        if (count == 0U) {
            break;
        }
        filled += count.value_or(0);
    }
    return filled;
}

Result<SharedBytes, FileReadError> readToEnd(const SystemFile& file) {
    std::string bytes;
    std::string block(std::size_t{64} * 1024, '\0');
    try {
        while (true) {
            const auto count =
                readUpTo(block.size(), file, reinterpret_cast<std::byte*>(block.data()));
            if (!count) {
                return systemError(errno);
            }
            bytes.append(block, 0, *count);
            if (*count < block.size()) {
                return SharedBytes(bytes);
            }
        }
    } catch (const std::bad_alloc&) {
        return systemError(ENOMEM);
    }
}

} // namespace

Result<SharedBytes, FileReadError> FileReader::read(const std::filesystem::path& path) {
    const SystemFile file(path);
    const auto attributes = file.attributes();
    if (!attributes) {
        return systemError(errno);
    }
    if (!attributes->isRegular) {
        return std::unexpected(FileReadError{.code = EINVAL, .text = "Not a regular file"});
    }
    if (attributes->size == 0) {
        return readToEnd(file);
    }
    const auto size = static_cast<std::size_t>(attributes->size);
    if (size != attributes->size || !reserve(size)) {
        return systemError(ENOMEM);
    }
    const auto filled = readUpTo(size, file, memory_.get());
    if (!filled) {
        return systemError(errno);
    }
    return SharedBytes(memory_, *filled);
}

/// Makes room for `size` bytes in memory that nobody else holds. False if there is not enough.
bool FileReader::reserve(std::size_t size) {
    const bool isReusable = memory_.use_count() == 1 && size <= capacity_ && capacity_ / 2 <= size;
    if (!isReusable) {
        memory_.reset(); // before there is more
        memory_.reset(new (std::nothrow) std::byte[size]);
        capacity_ = memory_ ? size : 0;
    }
    return memory_ != nullptr;
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
