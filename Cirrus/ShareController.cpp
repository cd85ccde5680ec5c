#include <Cirrus/ShareController.h>

#include <array>

#include "Cirrus/Log.h"
#include "Cirrus/ShareJob.h"
#include "Cirrus/platform/errors/ErrorKind.h"
#include "Cirrus/platform/formats/Json.h"
#include "Cirrus/webservice/GoogleWebservice.h"

namespace cirrus {

namespace {

std::optional<std::string> repaired(const std::optional<std::string>& text) {
    return text ? std::optional(repairedUtf8(*text)) : std::nullopt;
}

ShareController::Error underlying(auto error) {
    return ShareController::Error::underlying(anyError(std::move(error)));
}

} // namespace

ShareController::Context::Context(std::vector<std::filesystem::path> files,
                                  const std::string& rootDirectoryName,
                                  const std::string& destinationDirectoryName,
                                  const std::optional<std::string>& email,
                                  const std::optional<std::string>& emailMessage,
                                  std::optional<std::chrono::system_clock::time_point> expiration)
    : files_(std::move(files)),
      rootDirectoryName_(repairedUtf8(rootDirectoryName)),
      destinationDirectoryName_(repairedUtf8(destinationDirectoryName)),
      email_(repaired(email)),
      emailMessage_(repaired(emailMessage)),
      expiration_(expiration) {}

FailureReason ShareController::Error::reason() const {
    if (kind_ == Case::missingWebContentLink) {
        return FailureReason::noLink;
    }
    if (!underlying_ || errorAs<FileUploader::Error>(*underlying_) != nullptr) {
        return FailureReason::filesFailed;
    }
    return reasonOf(*underlying_);
}

std::optional<std::int64_t> ShareController::Error::serviceCode() const {
    return underlying_ ? serviceCodeOf(*underlying_) : std::nullopt;
}

std::optional<std::string> ShareController::Error::errorDescription() const {
    if (underlying_) {
        return underlying_->held().errorDescription("Something went wrong, please try again.");
    }
    return kind_ == Case::missingFile
               ? "One or more files could not be located by Stashly. Make sure the files are not "
                 "moved or deleted and try again."
               : "The files were uploaded, but the shareable link could not be found.";
}

std::string ShareController::Error::diagnosticText() const {
    constexpr std::array names{"underlying", "missingFile", "missingWebContentLink"}; // as in Case
    return caseText(names.at(static_cast<std::size_t>(kind_)), underlying_);
}

ShareController::ShareController(Context context, std::string accessToken)
    : job_(std::make_shared<ShareJob>(std::move(context),
                                      std::make_shared<GoogleWebservice>(std::move(accessToken)))) {
}

void ShareController::upload(ProgressCallback progress, Completion completion) & noexcept {
    if (job_) {
        job_->upload(std::move(progress), std::move(completion));
    }
}

void ShareController::cancel() noexcept {
    if (job_) {
        job_->cancel();
    }
}

std::vector<FailedFile> ShareController::failedFiles() const {
    return job_ ? job_->failedFiles() : std::vector<FailedFile>();
}

// The steps of the job, in their order. Log lines name the place that writes them, so everything
// that is logged for the controller is in this file; ShareJob.cpp has the rest.

void ShareJob::upload(ProgressCallback progress, Completion completion) {
    logDetail("upload(progress:completion:)");
    auto progressHandler = std::make_shared<const ProgressCallback>(std::move(progress));
    auto completionHandler = std::make_shared<const Completion>(std::move(completion));
    {
        const std::scoped_lock lock(mutex_);
        progressHandler_.swap(progressHandler);
        completionHandler_.swap(completionHandler);
    }
    findOrCreateRootDirectory();
}

void ShareJob::cancel() {
    logDetail("cancel()");
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
    logDetail(name);
    webservice_->findDirectory(
        context_.rootDirectoryName_,
        [job = weak_from_this()](const Result<FileList, WebserviceError>& result) {
            if (!result) {
                logFailure(name, "Failed to find directory, error: ", result.error());
                if (const auto self = job.lock()) {
                    self->fail(underlying(result.error()));
                }
            } else if (result->files.empty()) {
                logDetail(name, "Need to create root directory...");
                if (const auto self = job.lock()) {
                    self->createRootDirectory();
                }
            } else {
                logDetail(name, "Already have the root directory, proceeding to create "
                                "destination dir...");
                if (const auto self = job.lock()) {
                    self->createDestinationDirectory(result->files.front().identifier);
                }
            }
        });
}

void ShareJob::createRootDirectory() {
    constexpr auto name = "createRootDirectory()";
    logDetail(name);
    webservice_->createDirectory(
        context_.rootDirectoryName_, std::nullopt,
        [job = weak_from_this()](const Result<File, WebserviceError>& result) {
            if (result) {
                logDetail(name, "Created root dir, proceeding to create destination dir...");
            } else {
                logFailure(name, "Failed to create root dir, error: ", result.error());
            }
            if (const auto self = job.lock()) {
                result ? self->createDestinationDirectory(result->identifier)
                       : self->fail(underlying(result.error()));
            }
        });
}

void ShareJob::createDestinationDirectory(const std::string& parentIdentifier) {
    constexpr auto name = "createDestinationDirectory(parentIdentifier:)";
    logDetail(name);
    webservice_->createDirectory(
        context_.destinationDirectoryName_, parentIdentifier,
        [job = weak_from_this()](const Result<File, WebserviceError>& result) {
            if (result) {
                logDetail(name, "Finished creating destination dir, proceeding to upload file...");
            } else {
                logFailure(name, "Failed to create destination dir, error: ", result.error());
            }
            if (const auto self = job.lock()) {
                result ? self->prepareFileUpload(result->identifier)
                       : self->fail(underlying(result.error()));
            }
        });
}

void ShareJob::prepareFileUpload(const std::string& parentIdentifier) {
    constexpr auto name = "prepareFileUpload(parentIdentifier:)";
    logDetail(name);
    auto uploader = std::make_shared<FileUploader>(context_.files_, webservice_, parentIdentifier);
    uploader->upload([job = weak_from_this(), ended = std::weak_ptr(uploader),
                      parentIdentifier](const Result<void, FileUploader::Error>& result) {
        if (result) {
            logDetail(name, "Uploaded file, will apply permissions...");
        } else {
            logFailure(name, "Failed to upload file with error ", result.error());
        }
        if (const auto self = job.lock()) {
            // The uploader is still there: it makes this call.
            result ? self->applyPermissions(parentIdentifier)
                   : self->fail(underlying(result.error()), ended.lock()->failedFiles());
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
    logDetail(name);
    webservice_->createPermission(
        fileIdentifier, "reader", context_.email_ ? "user" : "anyone", context_.email_,
        context_.emailMessage_, context_.expiration_,
        [job = weak_from_this(),
         fileIdentifier](const Result<Permission, WebserviceError>& result) {
            if (result) {
                logDetail(name, "Did apply permissions, proceeding to determine URL");
            } else {
                logFailure(name, "Failed to apply permissions, error: ", result.error());
            }
            if (const auto self = job.lock()) {
                result ? self->requestContentUrl(fileIdentifier)
                       : self->fail(underlying(result.error()));
            }
        });
}

void ShareJob::requestContentUrl(const std::string& fileIdentifier) {
    constexpr auto name = "requestContentUrl(fileIdentifier:)";
    logDetail(name);
    webservice_->requestFile(
        fileIdentifier, [job = weak_from_this()](const Result<File, WebserviceError>& result) {
            if (!result) {
                logFailure(name, "Failed to obtain URL with error ", result.error());
                if (const auto self = job.lock()) {
                    self->fail(underlying(result.error()));
                }
            } else if (!result->webLink) {
                logFailure(name, "Request was successfull, but there is no web content link");
                if (const auto self = job.lock()) {
                    self->fail(Error::missingWebContentLink());
                }
            } else {
                logDetail(name, "Obtain URL, finishing upload...");
                if (const auto self = job.lock()) {
                    self->succeed(*result->webLink);
                }
            }
        });
}

} // namespace cirrus
