#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "Cirrus/platform/files/FileContents.h"

namespace cirrus {

OpenFile openRegularFile(const std::filesystem::path& path) {
    // Without O_NONBLOCK, opening a FIFO would wait for its writer.
    constexpr int flags = O_RDONLY | O_CLOEXEC;
    int file = ::open(path.c_str(), flags | O_NONBLOCK);
    if (file < 0 && errno == EWOULDBLOCK) {
        // A file server has a lease on the file, and gives it back if somebody waits.
        file = ::open(path.c_str(), flags);
    }
    struct stat attributes{};
    const bool isOpen = file >= 0 && ::fstat(file, &attributes) == 0;
    const bool isRegular = isOpen && S_ISREG(attributes.st_mode);
    // NOLINTNEXTLINE(clang-analyzer-unix.Stream): the pointer closes it
    OpenFile opened{.stream = {isRegular ? ::fdopen(file, "rb") : nullptr, &std::fclose},
                    .size = static_cast<std::uint64_t>(std::max<off_t>(attributes.st_size, 0))};
    if (!opened.stream && file >= 0) {
        ::close(file);
        errno = isOpen && !isRegular ? EINVAL : errno;
    }
    return opened;
}

std::optional<std::uint64_t> fileSize(const std::filesystem::path& path) {
    struct stat attributes{};
    return ::stat(path.c_str(), &attributes) != 0
               ? std::nullopt
               : std::optional<std::uint64_t>(std::max<off_t>(attributes.st_size, 0));
}

std::string pathText(const std::filesystem::path& path) {
    return path.native();
}

} // namespace cirrus
