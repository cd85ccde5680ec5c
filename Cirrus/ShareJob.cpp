#include "Cirrus/ShareJob.h"

#include <utility>

#include "Cirrus/Log.h"
#include "Cirrus/platform/LibraryThread.h"
#include "Cirrus/platform/MainQueue.h"

namespace cirrus {

namespace {

constexpr UnitLog unitLog("Cirrus/ShareController.cpp");

ShareController::Error underlying(auto error) {
    return ShareController::Error::underlying(AnyError(std::move(error)));
}

} // namespace

ShareJob::ShareJob(Context context, std::shared_ptr<Webservice> webservice)
    : files_(std::make_shared<const std::vector<std::filesystem::path>>(std::move(context.files_))),
      context_(std::move(context)),
      webservice_(std::move(webservice)) {}

ShareJob::~ShareJob() {
    // A step that was just running may hold the last reference. What the host put into its
    // callbacks (a widget, say) must not be destroyed on a thread of ours.
    if (isLibraryThread() && (completionHandler_ || progressHandler_)) {
        MainQueue::post([completion = std::move(completionHandler_),
                         progress = std::move(progressHandler_)] {});
    }
}

void ShareJob::upload(ProgressCallback progress, Completion completion) {
    unitLog.detail("upload(progress:completion:)");
    auto progressHandler = std::make_shared<const ProgressCallback>(std::move(progress));
    {
        const std::scoped_lock lock(mutex_);
        progressHandler_.swap(progressHandler);
        completionHandler_.swap(completion);
    }
    findOrCreateRootDirectory();
}

void ShareJob::cancel() {
    unitLog.detail("cancel()");
    isCancelled_ = true;
    std::shared_ptr<FileUploader> uploader;
    {
        const std::scoped_lock lock(mutex_);
        uploader = fileUploader_;
    }
    if (uploader) {
        uploader->cancel();
    }
    reset();
}

void ShareJob::findOrCreateRootDirectory() {
    constexpr auto name = "findOrCreateRootDirectory()";
    unitLog.detail(name);
    webservice_->findDirectory(
        context_.rootDirectoryName_,
        [job = weak_from_this()](Result<FileList, WebserviceError> result) {
            if (!result) {
                unitLog.failure(name, "Failed to find directory, error: ", result.error());
                if (const auto self = job.lock()) {
                    self->fail(underlying(std::move(result).error()));
                }
            } else if (result->files.empty()) {
                unitLog.detail(name, "Need to create root directory...");
                if (const auto self = job.lock()) {
                    self->createRootDirectory();
                }
            } else {
                unitLog.detail(name, "Already have the root directory, proceeding to create "
                                     "destination dir...");
                if (const auto self = job.lock()) {
                    self->createDestinationDirectory(result->files.front().identifier);
                }
            }
        });
}

void ShareJob::createRootDirectory() {
    constexpr auto name = "createRootDirectory()";
    unitLog.detail(name);
    webservice_->createDirectory(
        context_.rootDirectoryName_, std::nullopt,
        [job = weak_from_this()](Result<File, WebserviceError> result) {
            if (result) {
                unitLog.detail(name, "Created root dir, proceeding to create destination dir...");
            } else {
                unitLog.failure(name, "Failed to create root dir, error: ", result.error());
            }
            if (const auto self = job.lock()) {
                result ? self->createDestinationDirectory(result->identifier)
                       : self->fail(underlying(std::move(result).error()));
            }
        });
}

void ShareJob::createDestinationDirectory(const std::string& parentIdentifier) {
    constexpr auto name = "createDestinationDirectory(parentIdentifier:)";
    unitLog.detail(name);
    webservice_->createDirectory(
        context_.destinationDirectoryName_, parentIdentifier,
        [job = weak_from_this()](Result<File, WebserviceError> result) {
            if (result) {
                unitLog.detail(name,
                               "Finished creating destination dir, proceeding to upload file...");
            } else {
                unitLog.failure(name, "Failed to create destination dir, error: ", result.error());
            }
            if (const auto self = job.lock()) {
                result ? self->prepareFileUpload(result->identifier)
                       : self->fail(underlying(std::move(result).error()));
            }
        });
}

void ShareJob::prepareFileUpload(const std::string& parentIdentifier) {
    constexpr auto name = "prepareFileUpload(parentIdentifier:)";
    unitLog.detail(name);
    auto uploader = std::make_shared<FileUploader>(files_, webservice_, parentIdentifier);
    uploader->upload(
        [job = weak_from_this(), parentIdentifier](Result<void, FileUploader::Error> result) {
            if (result) {
                unitLog.detail(name, "Uploaded file, will apply permissions...");
            } else {
                unitLog.failure(name, "Failed to upload file with error ", result.error());
            }
            if (const auto self = job.lock()) {
                result ? self->applyPermissions(parentIdentifier)
                       : self->fail(underlying(std::move(result).error()));
            }
        });
    auto observation =
        uploader->progress()->observe([job = weak_from_this()](const Progress& progress) {
            if (const auto self = job.lock()) {
                self->progressDidChange(progress.weak_from_this().lock());
            }
        });
    const std::scoped_lock lock(mutex_);
    std::swap(progressObservationToken_, observation);
    fileUploader_.swap(uploader);
}

void ShareJob::applyPermissions(const std::string& fileIdentifier) {
    constexpr auto name = "applyPermissions(fileIdentifier:)";
    unitLog.detail(name);
    webservice_->createPermission(
        fileIdentifier, "reader", context_.email_ ? "user" : "anyone", context_.email_,
        context_.emailMessage_, context_.expiration_,
        [job = weak_from_this(), fileIdentifier](Result<Permission, WebserviceError> result) {
            if (result) {
                unitLog.detail(name, "Did apply permissions, proceeding to determine URL");
            } else {
                unitLog.failure(name, "Failed to apply permissions, error: ", result.error());
            }
            if (const auto self = job.lock()) {
                result ? self->requestContentUrl(fileIdentifier)
                       : self->fail(underlying(std::move(result).error()));
            }
        });
}

void ShareJob::requestContentUrl(const std::string& fileIdentifier) {
    constexpr auto name = "requestContentUrl(fileIdentifier:)";
    unitLog.detail(name);
    webservice_->requestFile(
        fileIdentifier, [job = weak_from_this()](Result<File, WebserviceError> result) {
            if (!result) {
                unitLog.failure(name, "Failed to obtain URL with error ", result.error());
                if (const auto self = job.lock()) {
                    self->fail(underlying(std::move(result).error()));
                }
            } else if (!result->webLink) {
                unitLog.failure(name, "Request was successfull, but there is no web content link");
                if (const auto self = job.lock()) {
                    self->fail(Error::missingWebContentLink());
                }
            } else {
                unitLog.detail(name, "Obtain URL, finishing upload...");
                if (const auto self = job.lock()) {
                    self->succeed(*result->webLink);
                }
            }
        });
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

void ShareJob::fail(Error error) {
    if (isCancelled_) {
        return;
    }
    MainQueue::post([self = shared_from_this(), error = std::move(error)]() mutable {
        self->deliverFailure(std::move(error));
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

void ShareJob::deliverFailure(Error error) {
    deliver(std::unexpected(std::move(error)));
}

void ShareJob::deliverSuccess(Url url) {
    deliver(std::move(url));
}

void ShareJob::deliver(Result<Url, Error> result) {
    Completion handler;
    // Goes too: an event loop inside the completion may meet progress of a second job.
    std::shared_ptr<const ProgressCallback> progress;
    {
        const std::scoped_lock lock(mutex_);
        if (isCancelled_) {
            return;
        }
        handler.swap(completionHandler_);
        progress.swap(progressHandler_);
    }
    if (handler) {
        handler(std::move(result));
    }
    reset();
}

/// Ends the observation and lets go of the uploader and both callbacks.
void ShareJob::reset() {
    ProgressObservation observation;
    std::shared_ptr<FileUploader> uploader;
    Completion completion;
    std::shared_ptr<const ProgressCallback> progress;
    const std::scoped_lock lock(mutex_);
    std::swap(observation, progressObservationToken_);
    uploader.swap(fileUploader_);
    completion.swap(completionHandler_);
    progress.swap(progressHandler_);
}

} // namespace cirrus
