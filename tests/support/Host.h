#pragma once

#include <condition_variable>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "tests/support/Step.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/Waiting.h"
#include <Cirrus/Cirrus.h>
#include <Cirrus/emulator/LocalDrive.h>

namespace cirrus::tests {

/// Keeps every line as "Unit level function: message".
class RecordingLog {
public:
    /// A sink that writes into `log`.
    static std::shared_ptr<LogSink> sinkFor(const std::shared_ptr<RecordingLog>& log);

    [[nodiscard]] std::vector<std::string> lines() const;
    /// Waits for a line; false when it does not come.
    [[nodiscard]] bool await(std::string_view line);

private:
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<std::string> lines_;
};

/// What a host has heard of one job.
struct Heard {
    std::vector<Result<Url, ShareController::Error>> results;
    std::vector<double> fractions;
    std::vector<std::shared_ptr<const Progress>> objects;
    bool wasOnMainThread = true;

    /// The user-facing text of the one failure that was heard.
    [[nodiscard]] std::string failureText() const;
};

/// A host in front of a local Drive. Its thread is the main queue's.
class Host {
public:
    explicit Host(std::optional<std::chrono::milliseconds> idleLimit = std::nullopt);

    [[nodiscard]] emulator::Emulator& drive() { return **drive_; }

    [[nodiscard]] const TemporaryFolder& folder() const { return folder_; }

    [[nodiscard]] RecordingLog& log() { return *log_; }

    /// A job for these files, with "Root" and "Destination" as its folders.
    [[nodiscard]] std::unique_ptr<ShareController>
    makeController(std::vector<std::filesystem::path> files,
                   std::optional<std::string> email = std::nullopt,
                   std::optional<std::string> message = std::nullopt,
                   std::optional<std::chrono::system_clock::time_point> expiration = std::nullopt);

    /// Starts a job whose callbacks write down what they hear.
    static std::shared_ptr<Heard> upload(ShareController& controller);

    /// Starts it, and runs the main queue until its outcome is there.
    static std::shared_ptr<Heard> uploadAndWait(ShareController& controller);

    /// All that the Drive was asked.
    [[nodiscard]] std::vector<Step> requests();

    /// The files that the destination folder holds, as "name=contents", in order.
    [[nodiscard]] std::vector<std::string> uploadedFiles();

    /// Waits until the step that the callback thread is in has ended.
    static void passCallbackThread();

    /// Waits until no request is on its way, then runs what waits on the main queue.
    static void settle();

private:
    std::unique_ptr<emulator::LocalDrive> drive_;
    TemporaryFolder folder_;
    std::shared_ptr<RecordingLog> log_;
};

} // namespace cirrus::tests
