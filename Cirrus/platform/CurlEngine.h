#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "Cirrus/platform/LoopbackPeer.h"
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
    ~CurlEngine();

    /// Begins a transfer. Safe from any thread; dropped without a word after `stop`.
    void submit(std::unique_ptr<Transfer> transfer);

    /// Counts for transfers submitted afterwards. Safe from any thread.
    void setPeer(std::optional<LoopbackPeer> peer);

    /// Runs the engine on this thread until `stop`. What is still on its way then is dropped.
    void run();

    /// Makes `run` return soon. Safe from any thread.
    void stop();

private:
    class Loop;
    std::unique_ptr<Loop> loop_;
};

} // namespace cirrus
