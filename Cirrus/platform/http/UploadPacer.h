#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <string_view>

namespace cirrus {

/// Feeds a body to libcurl in chunks, and so bounds how far progress moves at once: at most by a
/// chunk. Each move costs a task on the main queue, so chunks are small on a slow line, where the
/// progress has to move steadily, and large on a fast one.
class UploadPacer {
public:
    using Clock = std::chrono::steady_clock;

    static constexpr std::size_t smallestChunk = std::size_t{16} * 1024;
    static constexpr std::size_t largestChunk = std::size_t{512} * 1024;

    /// The bytes of `body` must stay valid.
    explicit UploadPacer(std::string_view body) : rest_(body) {}

    /// The next chunk, asked for once the one before has been sent: at most `limit` bytes, empty
    /// at the end of the body.
    [[nodiscard]] std::string_view nextChunk(std::size_t limit, Clock::time_point now) {
        if (lastSize_ > 0) {
            adapt(now - lastTakenAt_);
        }
        lastTakenAt_ = now;
        const auto chunk = rest_.substr(0, std::min(wantedSize_, limit));
        rest_.remove_prefix(chunk.size());
        lastSize_ = chunk.size();
        return chunk;
    }

private:
    /// Shrinks at once, but grows step by step: the first chunks only fill the system's buffer,
    /// which says little about the speed of the line.
    void adapt(Clock::duration took) {
        constexpr std::chrono::duration<double> wanted(0.002);
        const double atThisSpeed =
            static_cast<double>(lastSize_) * (wanted / std::max(took, Clock::duration(1)));
        const double next = std::min(atThisSpeed, 2 * static_cast<double>(wantedSize_));
        wantedSize_ = std::clamp(static_cast<std::size_t>(next), smallestChunk, largestChunk);
    }

    std::string_view rest_;
    std::size_t wantedSize_ = 4 * smallestChunk;
    std::size_t lastSize_ = 0;
    Clock::time_point lastTakenAt_;
};

} // namespace cirrus
