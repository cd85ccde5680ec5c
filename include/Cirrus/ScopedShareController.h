#pragma once

#include <optional>
#include <utility>

#include <Cirrus/ShareController.h>

namespace cirrus {

/// Holds a share job that really ends with it: once this object is destroyed, stopped or assigned
/// to, on the main queue's thread, neither callback is called any more and no further request is
/// made. So the callbacks may use the object that this one is a member of.
///
/// A job may be stopped from inside its own callbacks.
class ScopedShareController {
public:
    /// Holds no job.
    ScopedShareController() = default;

    /// Takes a job over, whether it runs already or not.
    explicit ScopedShareController(ShareController controller)
        : controller_(std::move(controller)) {}

    ScopedShareController(const ScopedShareController&) = delete;
    ScopedShareController& operator=(const ScopedShareController&) = delete;

    ScopedShareController(ScopedShareController&& other) noexcept
        : controller_(std::exchange(other.controller_, std::nullopt)) {}

    ScopedShareController& operator=(ScopedShareController&& other) noexcept {
        if (this != &other) {
            stop();
            controller_ = std::exchange(other.controller_, std::nullopt);
        }
        return *this;
    }

    ~ScopedShareController() { stop(); }

    /// Ends the job; nothing happens if there is none. The request in flight is not stopped: a file
    /// whose content is being sent arrives whole.
    void stop() noexcept {
        // Out of this object first: what the callbacks hold may come back here when it goes.
        if (auto controller = std::exchange(controller_, std::nullopt)) {
            controller->cancel();
        }
    }

    /// Whether there is a job, finished or not.
    explicit operator bool() const noexcept { return controller_.has_value(); }

    /// The job; null if there is none.
    ShareController* operator->() noexcept {
        return controller_.has_value() ? &*controller_ : nullptr;
    }

    const ShareController* operator->() const noexcept {
        return controller_.has_value() ? &*controller_ : nullptr;
    }

private:
    std::optional<ShareController> controller_;
};

} // namespace cirrus
