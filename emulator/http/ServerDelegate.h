#pragma once

#include <functional>
#include <optional>

#include <Cirrus/emulator/Snapshot.h>

namespace cirrus::emulator {

/// What the server asks of its owner. Called on the threads of the connections, several of them at
/// the same time. A call that blocks delays only its own connection.
class ServerDelegate {
public:
    virtual ~ServerDelegate() = default;

    /// Has the event add to the record what the server has seen.
    virtual void record(const std::function<void(Snapshot&)>& event) = 0;
    /// Called before the body is read. An answer is sent without waiting for the body.
    virtual std::optional<Answer> answerToHead(const Request& head) = 0;
    /// What to keep of the body that follows.
    virtual ContentPolicy bodyPolicy(const Request& head) = 0;
    virtual Answer answer(const Request& request) = 0;
};

} // namespace cirrus::emulator
