#include "Cirrus/ShareJob.h"

#include <utility>

#include <Cirrus/MainQueue.h>

#include "Cirrus/platform/threads/LibraryThread.h"

namespace cirrus {

ShareJob::ShareJob(Context context, std::shared_ptr<Webservice> webservice)
    : context_(std::move(context)), webservice_(std::move(webservice)) {}

ShareJob::~ShareJob() {
    // A step that was just running may hold the last reference. What the host put into its
    // callbacks (a widget, say) must not be destroyed on a thread of ours.
    if (isLibraryThread() && (completionHandler_ || progressHandler_)) {
        MainQueue::post([completion = std::move(completionHandler_),
                         progress = std::move(progressHandler_)] {});
    }
}

void ShareJob::progressDidChange(std::shared_ptr<const Progress> progress) {
    if (isCancelled_ || !progress) {
        return;
    }
    MainQueue::post([self = shared_from_this(), progress = std::move(progress)] {
        self->deliverProgress(progress);
    });
}

void ShareJob::deliverProgress(const std::shared_ptr<const Progress>& progress) {
    std::shared_ptr<const ProgressCallback> handler;
    {
        const std::scoped_lock lock(mutex_);
        // What an `upload` after `cancel` brought hears nothing of what was queued before.
        if (!isCancelled_) {
            handler = progressHandler_;
        }
    }
    if (handler && *handler) {
        (*handler)(progress);
    }
}

void ShareJob::fail(Error error, std::vector<FailedFile> failedFiles) {
    if (isCancelled_) {
        return;
    }
    MainQueue::post([self = shared_from_this(), error = std::move(error),
                     failedFiles = std::move(failedFiles)]() mutable {
        self->deliverFailure(std::move(error), std::move(failedFiles));
    });
}

void ShareJob::succeed(Url url) {
    if (isCancelled_) {
        return;
    }
    MainQueue::post([self = shared_from_this(), url = std::move(url)]() mutable {
        self->deliverSuccess(std::move(url));
    });
}

void ShareJob::deliverFailure(Error error, std::vector<FailedFile> failedFiles) {
    deliver(std::unexpected(std::move(error)), std::move(failedFiles));
}

void ShareJob::deliverSuccess(Url url) {
    deliver(std::move(url), {});
}

void ShareJob::deliver(Result<Url, Error> result, std::vector<FailedFile> failedFiles) {
    std::shared_ptr<const Completion> handler;
    // Goes too: an event loop inside the completion may meet progress of a second job.
    std::shared_ptr<const ProgressCallback> progress;
    {
        const std::scoped_lock lock(mutex_);
        if (isCancelled_) {
            return;
        }
        handler.swap(completionHandler_);
        progress.swap(progressHandler_);
        failedFiles_.swap(failedFiles);
    }
    if (handler && *handler) {
        (*handler)(std::move(result));
    }
    reset();
}

std::vector<FailedFile> ShareJob::failedFiles() {
    const std::scoped_lock lock(mutex_);
    return failedFiles_;
}

/// Ends the observation and lets go of the uploader and both callbacks.
void ShareJob::reset() {
    ProgressObservation observation;
    std::shared_ptr<FileUploader> uploader;
    std::shared_ptr<const Completion> completion;
    std::shared_ptr<const ProgressCallback> progress;
    const std::scoped_lock lock(mutex_);
    std::swap(observation, progressObservationToken_);
    uploader.swap(fileUploader_);
    completion.swap(completionHandler_);
    progress.swap(progressHandler_);
}

} // namespace cirrus
