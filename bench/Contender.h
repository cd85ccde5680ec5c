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

struct CirrusSettings {
    bool logsToNowhere = false; ///< with a sink that drops every line
};

struct CurlSettings {
    long uploadBufferSize = 512L * 1024;
    int unsentBacklog = 0;   ///< the socket's TCP_NOTSENT_LOWAT; 0 leaves it as it is
    bool hasThreads = false; ///< requests on a thread of their own, and a main thread for progress
};

/// How often the host's callback was called, or what went wrong.
using Outcome = std::expected<std::size_t, std::string>;

/// Shares the way a host does: through the public API, with a progress callback, on the built-in
/// main queue.
[[nodiscard]] Outcome shareWithCirrus(const Task& task, const CirrusSettings& settings);

/// The same requests by hand: for each job one easy handle on one thread, and blocking calls.
[[nodiscard]] Outcome shareWithCurl(const Task& task, const CurlSettings& settings);

} // namespace cirrus::bench
