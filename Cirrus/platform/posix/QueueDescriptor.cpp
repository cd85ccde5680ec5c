#include "Cirrus/platform/threads/QueueDescriptor.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>

namespace cirrus {

int QueueDescriptor::open() {
    std::array<int, 2> ends{};
    if (reading_ < 0 && ::pipe(ends.data()) == 0) {
        for (const int end : ends) {
            static_cast<void>(::fcntl(end, F_SETFD, FD_CLOEXEC));
            static_cast<void>(::fcntl(end, F_SETFL, O_NONBLOCK));
        }
        reading_ = ends[0];
        writing_ = ends[1];
    }
    return reading_;
}

void QueueDescriptor::setReadable() {
    if (writing_ >= 0) {
        [[maybe_unused]] const auto count = ::write(writing_, "", 1);
    }
}

void QueueDescriptor::setUnreadable() {
    std::array<char, 16> bytes{};
    while (reading_ >= 0 && ::read(reading_, bytes.data(), bytes.size()) > 0) {
    }
}

} // namespace cirrus
