#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "Cirrus/platform/Inbox.h"
#include "Cirrus/platform/LoopbackPeer.h"
#include "Cirrus/platform/Poller.h"
#include "Cirrus/platform/UrlSession.h"

namespace cirrus {

/// Carries out transfers with libcurl, any number at a time. One thread at a time drives it: the
/// one that stands by in `run`, or one that helps out.
class CurlEngine {
public:
    using Transfers = std::vector<std::unique_ptr<Transfer>>;

    CurlEngine();
    CurlEngine(const CurlEngine&) = delete;
    CurlEngine& operator=(const CurlEngine&) = delete;
    ~CurlEngine();

    /// Begins a transfer. Safe from any thread; dropped without a word after `stop`.
    void submit(std::unique_ptr<Transfer> transfer, Inbox::Next next) {
        inbox_.put(std::move(transfer), next);
    }

    /// Counts for transfers submitted afterwards. Safe from any thread.
    void setPeer(std::optional<LoopbackPeer> peer) { inbox_.setPeer(std::move(peer)); }

    /// Stands by on this thread, and drives whatever nobody else does, until `stop`. What is still
    /// on its way then is dropped. Calls `ended` for each transfer that has ended, on this thread.
    void run(const std::function<void(std::unique_ptr<Transfer>)>& ended);

    /// Drives on this thread, if nobody else does, until transfers have ended or none is left.
    /// Puts those that have ended into `ended`.
    void help(Transfers& ended);

    /// Has the thread that stands by drive what `help` could.
    void callStandby() { inbox_.callStandby(); }

    /// Makes `run` and `help` return soon. Safe from any thread.
    void stop() { inbox_.close(); }

private:
    class Loop;
    enum class Turn { goesOn, isOver, wasTheLast };

    Turn step(bool endsWithTransfers, Transfers& ended);

    Poller poller_;
    Inbox inbox_{poller_};
    std::unique_ptr<Loop> loop_;
};

} // namespace cirrus
