#pragma once

#include <chrono>
#include <expected>
#include <memory>
#include <optional>
#include <utility>

#include "emulator/Emulator.h"

namespace cirrus::emulator {

/// How a local Drive is set up.
struct LocalDriveOptions {
    /// How its emulator is.
    Options emulator = {};
    /// How long nothing may move before a request fails, in place of the library's 10 seconds.
    std::optional<std::chrono::milliseconds> idleLimit = std::nullopt;
};

/// An emulator that stands in for Google in this process: as long as it lives, every connection of
/// the library's shared session goes to it. One at a time.
class LocalDrive {
public:
    /// Starts the emulator and points the session at it, for requests made from now on.
    [[nodiscard]] static std::expected<std::unique_ptr<LocalDrive>, EmulatorError>
    start(LocalDriveOptions options = {});

    /// Points the session back at the world, then stops the emulator.
    ~LocalDrive();
    LocalDrive(const LocalDrive&) = delete;
    LocalDrive& operator=(const LocalDrive&) = delete;

    /// The emulator. It lives as long as this object.
    Emulator* operator->() { return emulator_.get(); }

    /// The emulator. It lives as long as this object.
    Emulator& operator*() { return *emulator_; }

private:
    explicit LocalDrive(std::unique_ptr<Emulator> emulator) : emulator_(std::move(emulator)) {}

    std::unique_ptr<Emulator> emulator_;
};

} // namespace cirrus::emulator
