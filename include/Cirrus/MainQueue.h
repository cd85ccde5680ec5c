#pragma once

#include <cstddef>
#include <functional>

#include <Cirrus/Export.h>

namespace cirrus {

/// The one queue of the process on which every callback reaches the host, one after another, in
/// the order in which they were posted. A host makes it its user interface's thread in one of two
/// ways:
///
/// - it installs its toolkit's dispatcher with `setDispatcher`, before its first share job; or
/// - it runs the built-in queue on one thread of its own: `run`, or `drain` whenever `descriptor`
///   is readable.
///
/// If the host does neither, tasks pile up, with the jobs and callbacks that they hold. Tasks that
/// still wait when the process ends are never run. Every operation is safe from any thread.
class CIRRUS_EXPORT MainQueue {
public:
    /// What is run once, and may be destroyed without having run. Must not throw.
    using Task = std::function<void()>;
    /// Takes a task and has it run later, once, on the host's main thread. Called on any thread,
    /// several at once, outside any lock. Tasks of one thread have to keep their order. Must not
    /// throw, and must not run the task before it returns.
    using Dispatcher = std::function<void(Task)>;

    /// Sends tasks posted from now on to `dispatcher`; an empty one goes back to the built-in
    /// queue. Tasks already in the built-in queue stay there. The dispatcher before is released
    /// once no call of it runs.
    static void setDispatcher(Dispatcher dispatcher) noexcept;

    /// Puts a task on the queue and returns at once.
    static void post(Task task) noexcept;

    /// Runs the tasks of the built-in queue on this thread, waiting for more, until `stop`.
    static void run() noexcept;

    /// Runs as many tasks as wait in the built-in queue now, and returns how many it ran. May be
    /// called from inside a task (a nested event loop).
    static std::size_t drain() noexcept;

    /// A file descriptor that is readable (`poll`, `epoll`) while tasks wait in the built-in
    /// queue. Only to be polled; it stays open for the life of the process.
    /// Negative if the system has none left (the next call tries again), and always on Windows.
    [[nodiscard]] static int descriptor() noexcept;

    /// Makes `run` return after the task it is in, or the next `run` at once if none is running.
    /// Tasks left over stay in the queue.
    static void stop() noexcept;
};

} // namespace cirrus
