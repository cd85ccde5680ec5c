#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <optional>
#include <string_view>
#include <utility>

namespace cirrus {

/// Deals a body out in pieces. The progress of an upload moves by whole pieces, and each move costs
/// time: pieces are small on a slow line, where it shall move steadily, and large on a fast one.
class BodyPieces {
public:
    using Clock = std::chrono::steady_clock;

    static constexpr std::size_t smallest = std::size_t{16} * 1024;
    static constexpr std::size_t largest = std::size_t{512} * 1024;

    /// Begins with a body, whose bytes must stay. The size of the pieces is kept: the next body
    /// likely takes the same line.
    void restart(std::string_view body) {
        rest_ = body;
        lastDealt_.reset();
    }

    /// The next piece, when the one before is gone: at most `limit` bytes, none at the end.
    [[nodiscard]] std::string_view next(std::size_t limit, Clock::time_point now) {
        if (const auto last = std::exchange(lastDealt_, now)) {
            adapt(now - *last);
        }
        const auto piece = rest_.substr(0, std::min(size_, limit));
        rest_.remove_prefix(piece.size());
        return piece;
    }

private:
    /// Slows down at once, but speeds up step by step: what the system takes into an empty buffer
    /// says little of the line.
    void adapt(Clock::duration took) {
        constexpr std::chrono::duration<double> wanted(0.002);
        const double factor = wanted / std::max(took, Clock::duration(1));
        size_ =
            std::clamp(static_cast<std::size_t>(static_cast<double>(size_) * std::min(factor, 2.0)),
                       smallest, largest);
    }

    std::size_t size_ = 4 * smallest;
    std::string_view rest_;
    std::optional<Clock::time_point> lastDealt_;
};

} // namespace cirrus
