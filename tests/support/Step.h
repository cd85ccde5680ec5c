#pragma once

#include <optional>
#include <utility>

#include <Cirrus/emulator/Emulator.h>

namespace cirrus::tests {

/// The requests of a job, told apart as the service sees them.
enum class Step { search, createRoot, createDestination, session, content, permission, link };

inline Step stepOf(const emulator::Request& request) {
    if (request.path.starts_with("/upload")) {
        return request.queryItem("upload_id") != nullptr ? Step::content : Step::session;
    }
    if (request.path.ends_with("/permissions")) {
        return Step::permission;
    }
    if (request.path != "/drive/v3/files") {
        return Step::link;
    }
    if (request.method == "GET") {
        return Step::search;
    }
    const bool hasParent = request.body.bytes().contains("parents");
    return hasParent ? Step::createDestination : Step::createRoot;
}

/// Answers the first request of this step; the rest is left to Drive.
inline emulator::RequestHook answeringOnce(Step step, emulator::Answer answer) {
    return [step,
            answer = std::optional(std::move(answer))](const emulator::Request& request) mutable {
        return stepOf(request) == step ? std::exchange(answer, std::nullopt) : std::nullopt;
    };
}

} // namespace cirrus::tests
