#include <Cirrus/Progress.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <mutex>
#include <utility>
#include <vector>

namespace cirrus {

namespace {

/// Children's shares are rounded down to multiples of this power of two, which makes sums of them
/// exact: the fraction does not drift, however often they change.
constexpr double finestShare = 1.0 / (1U << 20U);

} // namespace

struct Progress::Observer {
    Handler handler;
    std::atomic<bool> hasEnded = false;
};

struct Progress::State {
    explicit State(std::uint64_t total) : totalUnitCount(total) {}

    [[nodiscard]] double fraction() const {
        if (isFinished) {
            return 1;
        }
        if (totalUnitCount == 0) {
            return 0;
        }
        const double done = static_cast<double>(completedUnitCount) + childrenShare;
        return std::min(done / static_cast<double>(totalUnitCount), 1.0);
    }

    const std::uint64_t totalUnitCount;
    mutable std::mutex mutex;
    std::uint64_t completedUnitCount = 0;
    double childrenShare = 0; ///< in units
    bool isFinished = false;
    std::vector<std::weak_ptr<Observer>> observers;
    std::weak_ptr<Progress> parent;
    bool hasParent = false;

    /// What this object counts for in its parent, whose mutex guards it.
    std::uint64_t unitsInParent = 0;
    double shareInParent = 0;
};

std::shared_ptr<Progress> Progress::create(std::uint64_t totalUnitCount) {
    return std::shared_ptr<Progress>(new Progress(totalUnitCount));
}

Progress::Progress(std::uint64_t totalUnitCount)
    : state_(std::make_unique<State>(totalUnitCount)) {}

Progress::~Progress() = default;

std::uint64_t Progress::totalUnitCount() const {
    return state_->totalUnitCount;
}

double Progress::fractionCompleted() const {
    const std::scoped_lock lock(state_->mutex);
    return state_->fraction();
}

void Progress::setCompletedUnitCount(std::uint64_t count) {
    change([count](State& state) {
        state.completedUnitCount =
            std::max(state.completedUnitCount, std::min(count, state.totalUnitCount));
    });
}

void Progress::finish() {
    change([](State& state) { state.isFinished = true; });
}

void Progress::addChild(const std::shared_ptr<Progress>& child, std::uint64_t pendingUnitCount) {
    double fraction = 0;
    {
        const std::scoped_lock lock(state_->mutex, child->state_->mutex);
        if (std::exchange(child->state_->hasParent, true)) {
            return;
        }
        child->state_->parent = weak_from_this();
        child->state_->unitsInParent = pendingUnitCount;
        fraction = child->state_->fraction();
    }
    if (fraction > 0) {
        childChanged(*child->state_, fraction);
    }
}

void Progress::childChanged(State& child, double fraction) {
    change([&child, fraction](State& state) {
        const double share = static_cast<double>(child.unitsInParent) * fraction;
        const double rounded = std::floor(share / finestShare) * finestShare;
        // Changes made at the same time may arrive in either order; the greatest one counts.
        const double before =
            std::exchange(child.shareInParent, std::max(child.shareInParent, rounded));
        state.childrenShare += child.shareInParent - before;
    });
}

ProgressObservation Progress::observe(Handler handler) const {
    const auto observer = std::make_shared<Observer>(std::move(handler));
    const std::scoped_lock lock(state_->mutex);
    std::erase_if(state_->observers, [](const auto& known) { return known.expired(); });
    state_->observers.push_back(observer);
    // A call of the observer that runs keeps it alive, so its end has to be said as well.
    return ProgressObservation(
        std::shared_ptr<void>(nullptr, [observer](auto) { observer->hasEnded = true; }));
}

/// Notifies the observers and the parent if the fraction has changed. Without the lock, since both
/// may call back into this object.
template <class Change>
void Progress::change(const Change& apply) {
    double fraction = 0;
    std::vector<std::weak_ptr<Observer>> observers;
    std::shared_ptr<Progress> parent;
    {
        const std::scoped_lock lock(state_->mutex);
        const double before = state_->fraction();
        apply(*state_);
        fraction = state_->fraction();
        if (fraction == before) {
            return;
        }
        observers = state_->observers;
        parent = state_->parent.lock();
    }
    for (const auto& known : observers) {
        if (const auto observer = known.lock(); observer && !observer->hasEnded) {
            observer->handler(*this);
        }
    }
    if (parent) {
        parent->childChanged(*state_, fraction);
    }
}

} // namespace cirrus
