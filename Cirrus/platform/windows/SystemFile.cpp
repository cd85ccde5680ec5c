#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#include <windows.h>

#include <cerrno>

#include "Cirrus/platform/files/FileContents.h"

namespace cirrus {

namespace {

/// In the form in which Windows takes paths of more than 260 characters.
std::wstring longForm(const std::filesystem::path& path) {
    std::error_code failure;
    const auto absolute = std::filesystem::absolute(path, failure).lexically_normal();
    auto text = std::filesystem::path(absolute).make_preferred().native();
    if (failure || text.size() < MAX_PATH || text.starts_with(LR"(\\?\)")) {
        return path.native();
    }
    return text.starts_with(LR"(\\)") ? LR"(\\?\UNC)" + text.substr(1) : LR"(\\?\)" + text;
}

} // namespace

OpenFile openRegularFile(const std::filesystem::path& path) {
    constexpr int flags = _O_RDONLY | _O_BINARY | _O_NOINHERIT;
    const int file = ::_wopen(longForm(path).c_str(), flags);
    struct _stat64 attributes{};
    const bool isOpen = file >= 0 && ::_fstat64(file, &attributes) == 0;
    const bool isRegular = isOpen && (attributes.st_mode & _S_IFMT) == _S_IFREG;
    OpenFile opened{.stream = {isRegular ? ::_fdopen(file, "rb") : nullptr, &std::fclose},
                    .size = static_cast<std::uint64_t>(attributes.st_size)};
    if (!opened.stream && file >= 0) {
        ::_close(file);
        errno = isOpen && !isRegular ? EINVAL : errno;
    }
    return opened;
}

std::optional<std::uint64_t> fileSize(const std::filesystem::path& path) {
    WIN32_FILE_ATTRIBUTE_DATA attributes{};
    if (::GetFileAttributesExW(longForm(path).c_str(), GetFileExInfoStandard, &attributes) == 0) {
        return std::nullopt;
    }
    return std::uint64_t{attributes.nFileSizeHigh} << 32U | attributes.nFileSizeLow;
}

std::string pathText(const std::filesystem::path& path) {
    // Not path::u8string(), which throws if the name is not UTF-16, as names of files need not be.
    const auto wide = path.generic_wstring();
    const auto convert = [&wide](char* to, int room) {
        return ::WideCharToMultiByte(CP_UTF8, 0, wide.data(), static_cast<int>(wide.size()), to,
                                     room, nullptr, nullptr);
    };
    std::string text(static_cast<std::size_t>(convert(nullptr, 0)), '\0');
    convert(text.data(), static_cast<int>(text.size()));
    return text;
}

} // namespace cirrus
