#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <string_view>

#include "emulator/drive/DriveState.h"
#include <Cirrus/emulator/HttpMessage.h>

namespace cirrus::emulator {

/// Whether the body of this request is the contents of a file.
[[nodiscard]] bool isContentUpload(const Request& request);

/// Drive's API without the network: reads and changes the state and returns Drive's answer. Safe
/// from any thread.
class DriveApi {
public:
    using Clock = std::function<std::chrono::system_clock::time_point()>;
    /// Whether an access token is valid.
    using TokenCheck = std::function<bool(std::string_view)>;

    /// `state` has to outlive this object. `clock` returns the server's time. Both functions are
    /// called on any thread.
    DriveApi(DriveState& state, TokenCheck isValidToken,
             Clock clock = std::chrono::system_clock::now);

    /// Carries out a complete request and returns the answer.
    [[nodiscard]] Answer answer(const Request& request);

private:
    [[nodiscard]] Answer route(const Request& request);
    [[nodiscard]] bool isAuthorized(const Request& request) const;
    [[nodiscard]] Answer searchFiles(const Request& request) const;
    [[nodiscard]] Answer describeFile(const Request& request, std::string_view id);
    [[nodiscard]] Answer openSession(const Request& request);
    [[nodiscard]] Answer createPermission(const Request& request, std::string_view fileId);

    DriveState& state_;
    TokenCheck isValidToken_;
    Clock clock_;
};

} // namespace cirrus::emulator
