#include "Cirrus/platform/Inbox.h"

#include <utility>

namespace cirrus {

void Inbox::put(std::unique_ptr<Transfer> transfer, Next next) {
    {
        const std::scoped_lock lock(mutex_);
        if (isClosed_) {
            return;
        }
        entries_.push_back({std::move(transfer), peer_});
        if (next == Next::anything) {
            callStandbyIfNeeded();
        }
    }
    if (isDriverAsleep_.exchange(false)) {
        poller_.wake();
    }
}

void Inbox::setPeer(std::optional<LoopbackPeer> peer) {
    auto shared = peer ? std::make_shared<const LoopbackPeer>(*std::move(peer)) : nullptr;
    const std::scoped_lock lock(mutex_);
    peer_.swap(shared);
}

void Inbox::close() {
    {
        const std::scoped_lock lock(mutex_);
        isClosed_ = true;
    }
    standby_.wake();
    poller_.wake();
}

bool Inbox::waitForTurn() {
    while (true) {
        standby_.wait();
        const std::scoped_lock lock(mutex_);
        isStandbyCalled_ = false;
        if (isClosed_ || hasUndrivenWork()) {
            return !std::exchange(isDriven_, true);
        }
    }
}

bool Inbox::takeTurn() {
    const std::scoped_lock lock(mutex_);
    if (isClosed_ || !hasUndrivenWork()) {
        return false;
    }
    isDriven_ = true;
    return true;
}

void Inbox::callStandby() {
    const std::scoped_lock lock(mutex_);
    callStandbyIfNeeded();
}

bool Inbox::take(std::vector<Entry>& entries) {
    const std::scoped_lock lock(mutex_);
    entries_.swap(entries);
    isDriverAsleep_ = entries.empty();
    return !isClosed_;
}

bool Inbox::endTurn(bool isWorkLeft) {
    const std::scoped_lock lock(mutex_);
    if (isClosed_) {
        return false;
    }
    isDriven_ = false;
    isWorkLeft_ = isWorkLeft;
    callStandbyIfNeeded();
    return true;
}

bool Inbox::hasUndrivenWork() const {
    return !isDriven_ && (isWorkLeft_ || !entries_.empty());
}

void Inbox::callStandbyIfNeeded() {
    if (hasUndrivenWork() && !std::exchange(isStandbyCalled_, true)) {
        standby_.wake();
    }
}

} // namespace cirrus
