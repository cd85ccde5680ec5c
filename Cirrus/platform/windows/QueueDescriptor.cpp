#include "Cirrus/platform/threads/QueueDescriptor.h"

namespace cirrus {

// Windows has no descriptors to wait for: hosts run the queue, or install a dispatcher.

int QueueDescriptor::open() {
    return reading_;
}

void QueueDescriptor::setReadable() {}

void QueueDescriptor::setUnreadable() {}

} // namespace cirrus
