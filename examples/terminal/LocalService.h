#pragma once

#include <cstdint>
#include <expected>
#include <filesystem>
#include <memory>
#include <string>

/// The local Drive of `--emulator`, gone with this object. A build without the emulator offers
/// none.
class LocalService {
public:
    [[nodiscard]] static bool isOffered();

    /// Starts it, reading `rate` bytes a second (0 for no limit), or says why it did not start.
    static std::expected<std::unique_ptr<LocalService>, std::string> start(std::uint64_t rate);

    virtual ~LocalService() = default;
    LocalService(const LocalService&) = delete;
    LocalService& operator=(const LocalService&) = delete;

    [[nodiscard]] virtual std::string accessToken() const = 0;

    /// Lists its files in the format of sha256sum; false if they cannot be written.
    [[nodiscard]] virtual bool listContents(const std::filesystem::path& list) const = 0;

protected:
    LocalService() = default;
};
