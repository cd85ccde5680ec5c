#include "Cirrus/platform/files/FileContents.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <new>
#include <string_view>
#include <system_error>

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

} // namespace

std::optional<std::uint64_t> fileSize(const std::filesystem::path& path) {
    struct stat attributes{};
    if (::stat(path.c_str(), &attributes) != 0 || attributes.st_size < 0) {
        return std::nullopt;
    }
    return static_cast<std::uint64_t>(attributes.st_size);
}

Result<SharedBytes, FileReadError> FileReader::read(const std::filesystem::path& path) {
    // Without O_NONBLOCK, opening a FIFO would wait for its writer.
    const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    struct stat attributes{};
    if (file.get() < 0 || ::fstat(file.get(), &attributes) != 0) {
        return systemError(errno);
    }
    if (!S_ISREG(attributes.st_mode)) {
        return std::unexpected(FileReadError{.code = EINVAL, .text = "Not a regular file"});
    }
    const auto size = static_cast<std::size_t>(attributes.st_size);
    const bool isReusable = memory_.use_count() == 1 && size <= capacity_ && capacity_ / 2 <= size;
    if (!isReusable) {
        memory_.reset(); // before there is more
        memory_.reset(new (std::nothrow) std::byte[size]);
        capacity_ = memory_ ? size : 0;
    }
    if (!memory_) {
        return systemError(ENOMEM);
    }
    std::size_t filled = 0;
    while (filled < size) {
        const auto count = ::read(file.get(), memory_.get() + filled, size - filled);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            return systemError(errno);
        }
        if (count == 0) {
            break;
        }
        filled += static_cast<std::size_t>(count);
    }
    return SharedBytes(memory_, filled);
}

std::string lastPathComponent(const std::filesystem::path& path) {
    std::string_view text = path.native();
    while (text.size() > 1 && text.ends_with('/')) {
        text.remove_suffix(1);
    }
    return std::string(text.size() > 1 ? text.substr(text.rfind('/') + 1) : text);
}

} // namespace cirrus
