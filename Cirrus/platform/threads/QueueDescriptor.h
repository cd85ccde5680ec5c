#pragma once

namespace cirrus {

/// A file descriptor that is readable as long as it is marked so.
class QueueDescriptor {
public:
    /// Opens it if it is not open yet; negative if the system refuses.
    [[nodiscard]] int open();

    /// Nothing happens, here and below, while it is not open.
    void setReadable();

    void setUnreadable();

private:
    int reading_ = -1;
    int writing_ = -1; ///< the same where one descriptor serves for both
};

} // namespace cirrus
