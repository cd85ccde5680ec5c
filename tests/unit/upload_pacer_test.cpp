#include "Cirrus/platform/http/UploadPacer.h"

#include <gtest/gtest.h>

#include <string>

namespace cirrus::tests {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t noLimit = std::size_t{16} * 1024 * 1024;

/// The size of the last of these many chunks, if each takes as long to send as it would on a line
/// of this speed.
std::size_t chunkAfter(int chunks, double bytesPerSecond) {
    const std::string body(std::size_t{4} * 1024 * 1024, 'x');
    UploadPacer pacer(body);
    UploadPacer::Clock::time_point now{};
    std::size_t size = 0;
    for (int count = 0; count < chunks; ++count) {
        size = pacer.nextChunk(noLimit, now).size();
        now += std::chrono::duration_cast<UploadPacer::Clock::duration>(
            std::chrono::duration<double>(static_cast<double>(size) / bytesPerSecond));
    }
    return size;
}

TEST(UploadPacer, SendsSmallChunksOnASlowLineAndLargeOnesOnAFastLine) {
    EXPECT_EQ(chunkAfter(2, 32'000), UploadPacer::smallestChunk) << "shrinks at once";
    EXPECT_EQ(chunkAfter(8, 1e12), UploadPacer::largestChunk);
    EXPECT_LE(chunkAfter(2, 1e12), 2 * chunkAfter(1, 1e12)) << "grows step by step";
}

} // namespace
} // namespace cirrus::tests
