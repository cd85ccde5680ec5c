#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

#include "Cirrus/platform/LoopbackPeer.h"
#include "Cirrus/platform/Poller.h"
#include "Cirrus/platform/UrlSession.h"

namespace cirrus {

/// Null for the world.
using Peer = std::shared_ptr<const LoopbackPeer>;

/// Transfers on their way to the thread that carries them out, which sleeps in a poller and is
/// woken only when it does. Everything but `take` and `ownerIsAwake` is safe from any thread.
class Inbox {
public:
    struct Entry {
        std::unique_ptr<Transfer> transfer;
        Peer peer;
    };

    explicit Inbox(Poller& poller) : poller_(poller) {}

    /// Dropped without a word after `close`.
    void put(std::unique_ptr<Transfer> transfer) {
        {
            const std::scoped_lock lock(mutex_);
            if (isClosed_) {
                return;
            }
            entries_.push_back({std::move(transfer), peer_});
        }
        if (isOwnerAsleep_.exchange(false)) {
            poller_.wake();
        }
    }

    /// Counts for transfers put in afterwards.
    void setPeer(std::optional<LoopbackPeer> peer) {
        auto shared = peer ? std::make_shared<const LoopbackPeer>(*std::move(peer)) : nullptr;
        const std::scoped_lock lock(mutex_);
        peer_.swap(shared);
    }

    void close() {
        {
            const std::scoped_lock lock(mutex_);
            isClosed_ = true;
        }
        poller_.wake();
    }

    /// All that has come; nothing once closed. After an empty answer the owner may sleep.
    [[nodiscard]] std::optional<std::vector<Entry>> take() {
        const std::scoped_lock lock(mutex_);
        isOwnerAsleep_ = entries_.empty();
        return isClosed_ ? std::nullopt : std::optional(std::exchange(entries_, {}));
    }

    /// Says that the owner will `take` again before it sleeps.
    void ownerIsAwake() { isOwnerAsleep_ = false; }

private:
    Poller& poller_;
    std::mutex mutex_;
    std::vector<Entry> entries_;
    Peer peer_;
    bool isClosed_ = false;
    std::atomic<bool> isOwnerAsleep_ = false;
};

} // namespace cirrus
