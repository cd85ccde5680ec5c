#include "Cirrus/platform/files/FileContents.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <new>
#include <string_view>
#include <system_error>

#include "Cirrus/platform/formats/Json.h"

namespace cirrus {

namespace {

class FileDescriptor {
public:
    explicit FileDescriptor(int descriptor) : descriptor_(descriptor) {}

    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    ~FileDescriptor() {
        if (descriptor_ >= 0) {
            ::close(descriptor_);
        }
    }

    [[nodiscard]] int get() const { return descriptor_; }

private:
    int descriptor_;
};

std::unexpected<FileReadError> systemError(int code) {
    return std::unexpected(
        FileReadError{.code = code, .text = std::generic_category().message(code)});
}

int open(const std::filesystem::path& path) {
    // Without O_NONBLOCK, opening a FIFO would wait for its writer.
    constexpr int flags = O_RDONLY | O_CLOEXEC;
    const int file = ::open(path.c_str(), flags | O_NONBLOCK);
    // A file server has a lease on the file, and gives it back if somebody waits.
    return file < 0 && errno == EWOULDBLOCK ? ::open(path.c_str(), flags) : file;
}

/// Reads until `size` bytes are there or the file ends; the number read, or nullopt with `errno`.
std::optional<std::size_t> readUpTo(std::size_t size, int file, std::byte* to) {
    std::size_t filled = 0;
    while (filled < size) {
        const auto count = ::read(file, to + filled, size - filled);
        if (count < 0 && errno != EINTR) {
            return std::nullopt;
        }
        if (count == 0) {
            break;
        }
        filled += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    }
    return filled;
}

Result<SharedBytes, FileReadError> readToEnd(int file) {
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

std::optional<std::uint64_t> fileSize(const std::filesystem::path& path) {
    struct stat attributes{};
    if (::stat(path.c_str(), &attributes) != 0 || attributes.st_size < 0) {
        return std::nullopt;
    }
    return static_cast<std::uint64_t>(attributes.st_size);
}

Result<SharedBytes, FileReadError> FileReader::read(const std::filesystem::path& path) {
    const FileDescriptor file(open(path));
    struct stat attributes{};
    if (file.get() < 0 || ::fstat(file.get(), &attributes) != 0) {
        return systemError(errno);
    }
    if (!S_ISREG(attributes.st_mode)) {
        return std::unexpected(FileReadError{.code = EINVAL, .text = "Not a regular file"});
    }
    if (attributes.st_size == 0) {
        return readToEnd(file.get());
    }
    const auto size = static_cast<std::size_t>(attributes.st_size);
    if (!reserve(size)) {
        return systemError(ENOMEM);
    }
    const auto filled = readUpTo(size, file.get(), memory_.get());
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
    std::string_view text = path.native();
    while (text.size() > 1 && text.ends_with('/')) {
        text.remove_suffix(1);
    }
    return repairedUtf8(text.size() > 1 ? text.substr(text.rfind('/') + 1) : text);
}

} // namespace cirrus
