#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <utility>

#include <Cirrus/Export.h>

namespace cirrus {

class Progress;

/// Keeps an observer of a `Progress` installed until `invalidate` or destruction. After that no
/// call of the observer begins; one that another thread has already begun may still be running.
/// The observer itself is released as soon as no call of it runs.
class ProgressObservation {
public:
    ProgressObservation() = default;
    ProgressObservation(const ProgressObservation&) = delete;
    ProgressObservation& operator=(const ProgressObservation&) = delete;
    /// Takes over the observation; the other object has none then.
    ProgressObservation(ProgressObservation&&) noexcept = default;
    /// Ends the observation of this object and takes over the other's.
    ProgressObservation& operator=(ProgressObservation&&) noexcept = default;
    ~ProgressObservation() = default;

    /// Ends the observation; further calls do nothing.
    void invalidate() { observer_.reset(); }

private:
    friend class Progress;

    explicit ProgressObservation(std::shared_ptr<void> observer) : observer_(std::move(observer)) {}

    std::shared_ptr<void> observer_;
};

/// A count of work done: units completed out of a fixed total, plus the completed fractions of
/// attached children, each weighing the units it was attached with. It never falls. Always held
/// by `std::shared_ptr`; every operation is safe from any thread.
class CIRRUS_EXPORT Progress : public std::enable_shared_from_this<Progress> {
public:
    /// Receives the object that has changed. Must not throw.
    using Handler = std::function<void(const Progress&)>;

    /// An object for this many units, none of them completed.
    [[nodiscard]] static std::shared_ptr<Progress> create(std::uint64_t totalUnitCount);

    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress();

    /// All units, completed or not; never changes.
    [[nodiscard]] std::uint64_t totalUnitCount() const;

    /// The part of the work that is done, from 0 to 1. Exactly 1 once everything is complete; 0
    /// when the total is 0, until `finish`.
    [[nodiscard]] double fractionCompleted() const;

    /// Says how many units are complete, children's units not counted. Fewer than before changes
    /// nothing; more than the total counts as the total.
    void setCompletedUnitCount(std::uint64_t count);

    /// Says that all is complete, also when the total is 0.
    void finish();

    /// Makes `child` stand for `pendingUnitCount` of this object's units. This object does not
    /// keep the child alive; what a child had completed when it goes away stays. A child has one
    /// parent for life: a second attachment does nothing.
    void addChild(const std::shared_ptr<Progress>& child, std::uint64_t pendingUnitCount);

    /// Calls `handler` at each later change of the completed fraction, on the thread that made
    /// the change, outside any lock; calls for changes made by different threads may overlap.
    [[nodiscard]] ProgressObservation observe(Handler handler) const;

private:
    struct State;
    struct Observer;
    explicit Progress(std::uint64_t totalUnitCount);
    void childChanged(State& child, double fraction);
    template <class Change>
    void change(const Change& apply);

    const std::unique_ptr<State> state_;
};

} // namespace cirrus
