#include "Cirrus/platform/files/SystemFile.h"

#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#include <windows.h>

#include <algorithm>
#include <limits>

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

SystemFile::SystemFile(const std::filesystem::path& path)
    : descriptor_(::_wopen(longForm(path).c_str(), _O_RDONLY | _O_BINARY | _O_NOINHERIT)) {}

SystemFile::~SystemFile() {
    if (descriptor_ >= 0) {
        ::_close(descriptor_);
    }
}

std::optional<SystemFile::Attributes> SystemFile::attributes() const {
    struct _stat64 attributes{};
    if (descriptor_ < 0 || ::_fstat64(descriptor_, &attributes) != 0) {
        return std::nullopt;
    }
    return Attributes{.isRegular = (attributes.st_mode & _S_IFMT) == _S_IFREG,
                      .size = static_cast<std::uint64_t>(attributes.st_size)};
}

std::optional<std::size_t> SystemFile::read(std::byte* to, std::size_t room) const {
    constexpr std::size_t most = std::numeric_limits<int>::max();
    const int count = ::_read(descriptor_, to, static_cast<unsigned>(std::min(room, most)));
    return count < 0 ? std::nullopt : std::optional(static_cast<std::size_t>(count));
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
