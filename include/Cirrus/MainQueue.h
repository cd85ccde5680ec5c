#pragma once

#include <cstddef>
#include <functional>
#include <limits>

#include <Cirrus/Export.h>

namespace cirrus {

/// The one queue of the process on which every callback reaches the host, one after another, in
/// the order in which they were posted. A host runs it on one thread of its own, as a rule its user
/// interface's:
///
/// - with `setWakeUp`, before its first share job, it has its toolkit call `drain` on that thread,
///   as the adapters for Qt, GLib and Windows do; or
/// - a program without a loop of its own calls `run`.
///
/// If the host does neither, tasks pile up, with the jobs and callbacks that they hold. Tasks that
/// still wait when the process ends are never run. Every operation is safe from any thread, none
/// from a signal handler.
class CIRRUS_EXPORT MainQueue {
public:
    /// What is run once, and may be destroyed without having run. Must not throw.
    using Task = std::function<void()>;
    /// Makes the host's main thread call `drain` soon. Called on the posting thread after each
    /// task is posted, several at once, outside any lock. Must not throw, and must not call `drain`
    /// before it returns.
    using WakeUp = std::function<void()>;

    /// Has `wakeUp` called for every task that is posted from now on, and once if tasks wait
    /// already; an empty one is not called. The one before is released once no call of it runs.
    static void setWakeUp(WakeUp wakeUp) noexcept;

    /// Puts a task on the queue and returns at once.
    static void post(Task task) noexcept;

    /// Runs as many tasks as wait now, but at most `most`, on this thread; returns how many it ran.
    /// There is no further wake-up for what is left. May be called from inside a task (a nested
    /// event loop).
    static std::size_t drain(std::size_t most = std::numeric_limits<std::size_t>::max()) noexcept;

    /// Runs tasks on this thread, waiting for more, until `stop`.
    static void run() noexcept;

    /// Makes `run` return after the task it is in, or the next `run` at once if none is running.
    /// Tasks left over stay in the queue.
    static void stop() noexcept;
};

} // namespace cirrus
