#pragma once

#include <cstddef>
#include <cstdint>
#include <expected>
#include <filesystem>
#include <string>
#include <vector>

namespace cirrus::bench {

/// What both contenders have to do: `jobs` shares of the same files, all at once.
struct Task {
    std::uint16_t port = 0;
    std::string authority; ///< the certificate to trust, as PEM text
    std::string token;
    std::vector<std::filesystem::path> files;
    std::size_t jobs = 1;
};

/// Nothing, or what went wrong.
using Outcome = std::expected<void, std::string>;

/// Shares the way a host does: through the public API, with a progress callback, on the
/// thread that runs the main queue.
[[nodiscard]] Outcome shareWithCirrus(const Task& task);

/// The same requests by hand: for each job one easy handle on one thread, and blocking calls.
[[nodiscard]] Outcome shareWithCurl(const Task& task);

} // namespace cirrus::bench
