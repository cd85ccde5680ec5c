#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>

#include "Cirrus/FileUploader.h"
#include "Cirrus/webservice/Webservice.h"
#include <Cirrus/ShareController.h>

namespace cirrus {

/// A share job: its steps, each started from the completion of the one before (in
/// ShareController.cpp), and the delivery of what comes of it (in ShareJob.cpp). Whatever waits for
/// an answer holds the job weakly; only tasks on the main queue hold it strongly. Steps run on the
/// HTTP session's callback thread.
class ShareJob : public std::enable_shared_from_this<ShareJob> {
public:
    using Context = ShareController::Context;
    using Error = ShareController::Error;
    using ProgressCallback = ShareController::ProgressCallback;
    using Completion = ShareController::Completion;

    ShareJob(Context context, std::shared_ptr<Webservice> webservice);
    ShareJob(const ShareJob&) = delete;
    ShareJob& operator=(const ShareJob&) = delete;
    ~ShareJob();

    void upload(ProgressCallback progress, Completion completion);
    void cancel();
    [[nodiscard]] std::vector<FailedFile> failedFiles();

private:
    void findOrCreateRootDirectory();
    void createRootDirectory();
    void createDestinationDirectory(const std::string& parentIdentifier);
    void prepareFileUpload(const std::string& parentIdentifier);
    void applyPermissions(const std::string& fileIdentifier);
    void requestContentUrl(const std::string& fileIdentifier);

    void progressDidChange(std::shared_ptr<const Progress> progress);
    void deliverProgress(const std::shared_ptr<const Progress>& progress);
    void fail(Error error, std::vector<FailedFile> failedFiles = {});
    void succeed(Url url);
    void deliverFailure(Error error, std::vector<FailedFile> failedFiles);
    void deliverSuccess(Url url);
    void deliver(Result<Url, Error> result, std::vector<FailedFile> failedFiles);
    void reset();

    const Context context_;
    const std::shared_ptr<Webservice> webservice_;
    std::atomic<bool> isCancelled_ = false;

    /// Guards the members below. Not held while any of them is called or destroyed.
    std::mutex mutex_;
    // Shared: a callback has state, and a moved `std::function` may leave a copy of it behind.
    std::shared_ptr<const Completion> completionHandler_;
    std::shared_ptr<const ProgressCallback> progressHandler_;
    std::shared_ptr<FileUploader> fileUploader_;
    ProgressObservation progressObservationToken_;
    std::vector<FailedFile> failedFiles_;
};

} // namespace cirrus
