#pragma once

#include <stdexcept>
#include <string>

#include "emulator/drive/Json.h"

namespace cirrus::emulator {

/// Drive refuses a request. Thrown where that turns out; no caller of the emulator sees it.
class DriveError : public std::runtime_error {
public:
    /// `reason` is Google's word for programs, `message` its text for people.
    DriveError(unsigned status, const char* reason, const std::string& message)
        : std::runtime_error(message), status_(status), reason_(reason) {}

    /// The answer in Google's format for errors.
    [[nodiscard]] Answer answer() const {
        const Json detail{{"domain", "global"}, {"reason", reason_}, {"message", what()}};
        return jsonAnswer(
            status_,
            Json{{"error",
                  {{"code", status_}, {"message", what()}, {"errors", Json::array({detail})}}}});
    }

private:
    unsigned status_;
    const char* reason_;
};

} // namespace cirrus::emulator
