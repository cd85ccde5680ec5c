#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "Cirrus/platform/LoopbackPeer.h"
#include "Cirrus/platform/Poller.h"
#include "Cirrus/platform/UrlSession.h"
#include "Cirrus/platform/Wakeup.h"

namespace cirrus {

/// Null for the world.
using Peer = std::shared_ptr<const LoopbackPeer>;

/// Transfers on their way to the engine, and whose turn it is to drive it: one thread's at a time.
/// The driver sleeps in a poller and is woken only when it does. A second thread stands by for all
/// the work that has no driver; others may take a turn when they have nothing else to do, and give
/// it up before they have. Everything that is not for the driver is safe from any thread.
class Inbox {
public:
    struct Entry {
        std::unique_ptr<Transfer> transfer;
        Peer peer;
    };

    /// What the thread that puts something in does next.
    enum class Next { anything, takesTurnOrCallsStandby };

    explicit Inbox(Poller& poller) : poller_(poller) {}

    /// Dropped without a word after `close`.
    void put(std::unique_ptr<Transfer> transfer, Next next);

    /// Counts for transfers put in afterwards.
    void setPeer(std::optional<LoopbackPeer> peer);

    /// Ends all turns. Whoever drives learns it from `endTurn`, or else the thread that stands by.
    void close();

    /// Waits for work that has no driver. False when it is closed and a driver knows that.
    [[nodiscard]] bool waitForTurn();

    /// Makes the caller the driver if there is work that has none.
    [[nodiscard]] bool takeTurn();

    /// Leaves work to the thread that stands by, if there is work that has no driver.
    void callStandby();

    /// For the driver: puts all that has come into `entries`, which must be empty; false once
    /// closed. After an empty answer it may sleep.
    [[nodiscard]] bool take(std::vector<Entry>& entries);

    /// For the driver: says that it will `take` again before it sleeps, or end its turn.
    void driverIsAwake() { isDriverAsleep_ = false; }

    /// For the driver, which has to leave the engine alone then. `isWorkLeft` says that transfers
    /// are on their way. Once closed, false, and the turn goes on: to clear up, for good.
    [[nodiscard]] bool endTurn(bool isWorkLeft);

private:
    [[nodiscard]] bool hasUndrivenWork() const;
    void callStandbyIfNeeded();

    Poller& poller_;
    Wakeup standby_;
    std::mutex mutex_;
    std::vector<Entry> entries_;
    Peer peer_;
    bool isClosed_ = false;
    bool isDriven_ = false;
    bool isWorkLeft_ = false;      ///< transfers on their way without a driver
    bool isStandbyCalled_ = false; ///< and has not come yet
    std::atomic<bool> isDriverAsleep_ = false;
};

} // namespace cirrus
