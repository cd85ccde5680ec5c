#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <utility>

#include "Cirrus/platform/Inbox.h"
#include "Cirrus/platform/LoopbackPeer.h"
#include "Cirrus/platform/Poller.h"
#include "Cirrus/platform/UrlSession.h"

namespace cirrus {

/// Carries out transfers with libcurl, any number at a time, on one thread.
class CurlEngine {
public:
    /// Takes a finished transfer back with its outcome, on the engine's thread.
    using Finished = std::function<void(std::unique_ptr<Transfer>, TaskOutcome)>;

    explicit CurlEngine(Finished finished);
    CurlEngine(const CurlEngine&) = delete;
    CurlEngine& operator=(const CurlEngine&) = delete;
    ~CurlEngine() = default;

    /// Begins a transfer. Safe from any thread; dropped without a word after `stop`.
    void submit(std::unique_ptr<Transfer> transfer) { inbox_.put(std::move(transfer)); }

    /// Counts for transfers submitted afterwards. Safe from any thread.
    void setPeer(std::optional<LoopbackPeer> peer) { inbox_.setPeer(std::move(peer)); }

    /// Runs the engine on this thread until `stop`. What is still on its way then is dropped.
    void run();

    /// Makes `run` return soon. Safe from any thread.
    void stop() { inbox_.close(); }

private:
    class Loop;

    Finished finished_;
    Poller poller_;
    Inbox inbox_{poller_};
};

} // namespace cirrus
