#include "Cirrus/platform/files/SystemFile.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>

namespace cirrus {

std::unique_ptr<std::FILE, int (*)(std::FILE*)> openRegularFile(const std::filesystem::path& path) {
    struct stat attributes{};
    std::FILE* file = nullptr;
    // Before it is opened, which would wait for the writer of a FIFO.
    if (::stat(path.c_str(), &attributes) == 0) {
        errno = EINVAL;
        file = S_ISREG(attributes.st_mode) ? std::fopen(path.c_str(), "rbe") : nullptr;
    }
    return {file, &std::fclose};
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
