#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "Cirrus/platform/files/FileContents.h"

namespace cirrus {

OpenFile openRegularFile(const std::filesystem::path& path) {
    // Without O_NONBLOCK, opening a FIFO would wait for its writer. But a file server gives its
    // lease on a file back only to somebody who waits.
    constexpr int flags = O_RDONLY | O_CLOEXEC;
    int file = ::open(path.c_str(), flags | O_NONBLOCK);
    file = file < 0 && errno == EWOULDBLOCK ? ::open(path.c_str(), flags) : file;
    struct stat attributes{};
    const bool isOpen = file >= 0 && ::fstat(file, &attributes) == 0;
    const bool isRegular = isOpen && S_ISREG(attributes.st_mode);
    OpenFile opened{.stream = {nullptr, &std::fclose},
                    .size = static_cast<std::uint64_t>(std::max<off_t>(attributes.st_size, 0))};
    opened.stream.reset(isRegular ? ::fdopen(file, "rb") : nullptr);
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
