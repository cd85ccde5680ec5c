#include "Cirrus/platform/threads/QueueDescriptor.h"

#include <sys/eventfd.h>

namespace cirrus {

int QueueDescriptor::open() {
    if (reading_ < 0) {
        reading_ = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
        writing_ = reading_;
    }
    return reading_;
}

void QueueDescriptor::setReadable() {
    if (writing_ >= 0) {
        ::eventfd_write(writing_, 1);
    }
}

void QueueDescriptor::setUnreadable() {
    if (reading_ >= 0) {
        eventfd_t counter = 0;
        ::eventfd_read(reading_, &counter);
    }
}

} // namespace cirrus
