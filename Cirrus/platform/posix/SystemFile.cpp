#include "Cirrus/platform/files/SystemFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace cirrus {

namespace {

int open(const std::filesystem::path& path) {
    // Without O_NONBLOCK, opening a FIFO would wait for its writer.
    constexpr int flags = O_RDONLY | O_CLOEXEC;
    const int file = ::open(path.c_str(), flags | O_NONBLOCK);
    // A file server has a lease on the file, and gives it back if somebody waits.
    return file < 0 && errno == EWOULDBLOCK ? ::open(path.c_str(), flags) : file;
}

std::uint64_t sizeIn(const struct stat& attributes) {
    return static_cast<std::uint64_t>(std::max<off_t>(attributes.st_size, 0));
}

} // namespace

SystemFile::SystemFile(const std::filesystem::path& path) : descriptor_(open(path)) {}

SystemFile::~SystemFile() {
    if (descriptor_ >= 0) {
        ::close(descriptor_);
    }
}

std::optional<SystemFile::Attributes> SystemFile::attributes() const {
    struct stat attributes{};
    if (descriptor_ < 0 || ::fstat(descriptor_, &attributes) != 0) {
        return std::nullopt;
    }
    return Attributes{.isRegular = S_ISREG(attributes.st_mode), .size = sizeIn(attributes)};
}

std::optional<std::size_t> SystemFile::read(std::byte* to, std::size_t room) const {
    const auto count = ::read(descriptor_, to, room);
    return count < 0 ? std::nullopt : std::optional(static_cast<std::size_t>(count));
}

std::optional<std::uint64_t> fileSize(const std::filesystem::path& path) {
    struct stat attributes{};
    return ::stat(path.c_str(), &attributes) != 0 ? std::nullopt
                                                  : std::optional(sizeIn(attributes));
}

std::string pathText(const std::filesystem::path& path) {
    return path.native();
}

} // namespace cirrus
