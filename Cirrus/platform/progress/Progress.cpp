#include <Cirrus/Progress.h>

#include <algorithm>
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

class ProgressObservation::Observer {
public:
    explicit Observer(Progress::Handler handler)
        : handler_(std::make_shared<const Progress::Handler>(std::move(handler))) {}

    void call(const Progress& progress) {
        if (const auto handler = current()) {
            (*handler)(progress);
        }
    }

    void end() {
        std::shared_ptr<const Progress::Handler> released;
        const std::scoped_lock lock(mutex_);
        released.swap(handler_);
    }

private:
    std::shared_ptr<const Progress::Handler> current() {
        const std::scoped_lock lock(mutex_);
        return handler_;
    }

    std::mutex mutex_;
    std::shared_ptr<const Progress::Handler> handler_;
};

ProgressObservation::ProgressObservation(std::shared_ptr<Observer> observer)
    : observer_(std::move(observer)) {}

ProgressObservation& ProgressObservation::operator=(ProgressObservation&& other) noexcept {
    if (this != &other) {
        invalidate();
        observer_ = std::move(other.observer_);
    }
    return *this;
}

ProgressObservation::~ProgressObservation() {
    invalidate();
}

void ProgressObservation::invalidate() {
    if (const auto observer = std::exchange(observer_, nullptr)) {
        observer->end();
    }
}

struct Progress::State {
    explicit State(std::uint64_t total) : totalUnitCount(total) {}

    [[nodiscard]] double fraction() const {
        if (isFinished) {
            return 1;
        }
        if (totalUnitCount == 0) {
            return 0;
        }
        const double done = static_cast<double>(completedUnitCount) +
                            static_cast<double>(finishedChildrenUnitCount) + activeShares;
        return std::min(done / static_cast<double>(totalUnitCount), 1.0);
    }

    using Observers = std::vector<std::weak_ptr<ProgressObservation::Observer>>;

    const std::uint64_t totalUnitCount;
    mutable std::mutex mutex;
    std::uint64_t completedUnitCount = 0;
    std::uint64_t finishedChildrenUnitCount = 0;
    double activeShares = 0;
    bool isFinished = false;
    /// Replaced, never changed, so that it can be gone through without the lock. Null until
    /// somebody observes.
    std::shared_ptr<const Observers> observers;
    std::weak_ptr<Progress> parent;
    bool hasParent = false;

    /// What this object counts for in its parent, whose mutex guards it.
    std::uint64_t unitsInParent = 0;
    double shareInParent = 0;
    bool isDoneInParent = false;
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
        if (child.isDoneInParent) {
            return;
        }
        // Changes made at the same time may arrive in either order; the greatest one counts.
        const auto units = static_cast<double>(child.unitsInParent);
        const double share =
            std::max(child.shareInParent, std::floor(units * fraction / finestShare) * finestShare);
        state.activeShares += share - child.shareInParent;
        child.shareInParent = share;
        if (fraction >= 1) {
            state.activeShares -= share;
            state.finishedChildrenUnitCount += child.unitsInParent;
            child.isDoneInParent = true;
        }
    });
}

ProgressObservation Progress::observe(Handler handler) const {
    auto observer = std::make_shared<ProgressObservation::Observer>(std::move(handler));
    const std::scoped_lock lock(state_->mutex);
    State::Observers observers;
    if (state_->observers) {
        observers = *state_->observers;
    }
    std::erase_if(observers, [](const auto& known) { return known.expired(); });
    observers.push_back(observer);
    state_->observers = std::make_shared<const State::Observers>(std::move(observers));
    return ProgressObservation(std::move(observer));
}

/// Notifies the observers and the parent if the fraction has changed. Without the lock, since both
/// may call back into this object.
template <class Change>
void Progress::change(const Change& apply) {
    double fraction = 0;
    std::shared_ptr<const State::Observers> observers;
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
    if (observers) {
        for (const auto& known : *observers) {
            if (const auto observer = known.lock()) {
                observer->call(*this);
            }
        }
    }
    if (parent) {
        parent->childChanged(*state_, fraction);
    }
}

} // namespace cirrus
