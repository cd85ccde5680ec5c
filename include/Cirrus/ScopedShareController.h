#pragma once

#include <memory>
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
        : controller_(std::make_unique<ShareController>(std::move(controller))) {}

    ScopedShareController(const ScopedShareController&) = delete;
    ScopedShareController& operator=(const ScopedShareController&) = delete;
    /// Takes over the other's job.
    ScopedShareController(ScopedShareController&&) noexcept = default;

    /// Ends the job of this object and takes over the other's.
    ScopedShareController& operator=(ScopedShareController&& other) noexcept {
        if (this != &other) {
            stop();
            controller_ = std::move(other.controller_);
        }
        return *this;
    }

    ~ScopedShareController() { stop(); }

    /// Ends the job; nothing happens if there is none. The request in flight is not stopped: a file
    /// whose content is being sent arrives whole.
    void stop() noexcept {
        // Out of this object first: what the callbacks hold may come back here when it goes.
        if (const auto controller = std::move(controller_)) {
            controller->cancel();
        }
    }

    /// Whether there is a job, finished or not.
    explicit operator bool() const noexcept { return controller_ != nullptr; }

    /// The job; null if there is none.
    ShareController* operator->() const noexcept { return controller_.get(); }

private:
    std::unique_ptr<ShareController> controller_;
};

} // namespace cirrus
