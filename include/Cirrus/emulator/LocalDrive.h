#pragma once

#include <chrono>
#include <expected>
#include <memory>
#include <optional>
#include <utility>

#include <Cirrus/emulator/Emulator.h>

namespace cirrus::emulator {

/// Settings of a local Drive.
struct LocalDriveOptions {
    /// Settings of its emulator.
    Options emulator = {};
    /// How long a request may receive and send nothing before it fails; nullopt for the library's
    /// 10 seconds.
    std::optional<std::chrono::milliseconds> idleLimit = std::nullopt;
};

/// An emulator that stands in for Google in this process: as long as it lives, every connection of
/// the library goes to it. A process can have one at a time. Any thread may create or destroy it;
/// requests that are in flight then are not redirected.
class LocalDrive {
public:
    /// Starts the emulator. Requests that the library makes from now on go to it. Fails like
    /// `Emulator::start`, and if the process has one already.
    [[nodiscard]] static std::expected<std::unique_ptr<LocalDrive>, EmulatorError>
    start(LocalDriveOptions options = {});

    /// Lets the library connect to Google again, then stops the emulator.
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
