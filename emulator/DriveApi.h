#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <string_view>

#include "emulator/DriveState.h"
#include "emulator/HttpMessage.h"

namespace cirrus::emulator {

/// Whether a request carries the contents of a file rather than a description.
[[nodiscard]] bool isContentUpload(const Request& request);

/// Drive's answers, without a network: turns a request into an answer by way of the state. Safe
/// from any thread.
class DriveApi {
public:
    using Clock = std::function<std::chrono::system_clock::time_point()>;

    /// Works on `state`, which has to outlive this. `clock` says what time it is on the server.
    DriveApi(DriveState& state, std::string accessToken,
             Clock clock = std::chrono::system_clock::now);

    /// Answers a complete request and applies what it asks for.
    [[nodiscard]] Answer answer(const Request& request);

private:
    [[nodiscard]] Answer searchFiles(const Request& request) const;
    [[nodiscard]] Answer describeFile(const Request& request, std::string_view id) const;
    [[nodiscard]] Answer createFile(const Request& request);
    [[nodiscard]] Answer openSession(const Request& request);
    [[nodiscard]] Answer finishSession(const Request& request, const std::string& uploadId);
    [[nodiscard]] Answer createPermission(const Request& request, std::string_view fileId);

    DriveState& state_;
    std::string authorization_;
    Clock clock_;
};

} // namespace cirrus::emulator
