#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <string_view>

namespace cirrus {

/// Deals a body out in portions of as much as libcurl takes at once, and says when the progress is
/// to move: by whole pieces, of one portion or two. Each move costs time, so pieces are small on a
/// slow line, where the progress shall move steadily, and large on a fast one.
class BodyPieces {
public:
    using Clock = std::chrono::steady_clock;

    static constexpr std::size_t smallest = std::size_t{16} * 1024;
    static constexpr std::size_t largest = std::size_t{1024} * 1024;
    /// Shall still be in a second-level cache of 1 MiB when TLS comes to read it.
    static constexpr std::size_t largestPortion = std::size_t{512} * 1024;

    /// Begins with a body, whose bytes must stay. The size of the pieces is kept: the next body
    /// likely takes the same line.
    void restart(std::string_view body) {
        rest_ = body;
        portion_ = 0;
        sinceMove_ = 0;
    }

    /// The next portion, when the one before is gone: at most `limit` bytes, none at the end.
    [[nodiscard]] std::string_view next(std::size_t limit, Clock::time_point now) {
        if (portion_ > 0) {
            adapt(now - dealtAt_);
        }
        dealtAt_ = now;
        const auto portion = rest_.substr(0, std::min({size_, largestPortion, limit}));
        rest_.remove_prefix(portion.size());
        portion_ = portion.size();
        sinceMove_ += portion_;
        return portion;
    }

    /// Whether the progress moves now that all that was dealt is gone.
    [[nodiscard]] bool moves() {
        const bool isWhole = sinceMove_ >= size_ || rest_.empty();
        if (isWhole) {
            sinceMove_ = 0;
        }
        return isWhole;
    }

private:
    /// Slows down at once, but speeds up step by step: what the system takes into an empty buffer
    /// says little of the line.
    void adapt(Clock::duration took) {
        constexpr std::chrono::duration<double> wanted(0.002);
        const double atThisSpeed =
            static_cast<double>(portion_) * (wanted / std::max(took, Clock::duration(1)));
        const double wantedSize = std::min(atThisSpeed, 2 * static_cast<double>(size_));
        size_ = std::clamp(static_cast<std::size_t>(wantedSize), smallest, largest);
    }

    std::size_t size_ = 4 * smallest;
    std::string_view rest_;
    Clock::time_point dealtAt_;
    std::size_t portion_ = 0;
    std::size_t sinceMove_ = 0;
};

} // namespace cirrus
