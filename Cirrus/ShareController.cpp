#include "Cirrus/ShareController.h"

#include <utility>

#include "Cirrus/ShareJob.h"
#include "Cirrus/webservice/GoogleWebservice.h"

namespace cirrus {

ShareController::Context::Context(std::vector<std::filesystem::path> files,
                                  std::string rootDirectoryName,
                                  std::string destinationDirectoryName,
                                  std::optional<std::string> email,
                                  std::optional<std::string> emailMessage,
                                  std::optional<std::chrono::system_clock::time_point> expiration)
    : files_(std::move(files)),
      rootDirectoryName_(std::move(rootDirectoryName)),
      destinationDirectoryName_(std::move(destinationDirectoryName)),
      email_(std::move(email)),
      emailMessage_(std::move(emailMessage)),
      expiration_(expiration) {}

ShareController::Error::Error(Case kind, std::optional<AnyError> underlying)
    : case_(kind), underlying_(std::move(underlying)) {}

ShareController::Error ShareController::Error::underlying(AnyError error) {
    return {Case::underlying, std::move(error)};
}

ShareController::Error ShareController::Error::missingFile() {
    return {Case::missingFile, std::nullopt};
}

ShareController::Error ShareController::Error::missingWebContentLink() {
    return {Case::missingWebContentLink, std::nullopt};
}

const AnyError* ShareController::Error::underlyingError() const {
    return underlying_ ? &*underlying_ : nullptr;
}

std::optional<std::string> ShareController::Error::errorDescription() const {
    switch (case_) {
    case Case::underlying:
        return underlying_.value().errorDescriptionOr("Something went wrong, please try again.");
    case Case::missingFile:
        return "One or more files could not be located by Stashly. Make sure the files are not "
               "moved or deleted and try again.";
    case Case::missingWebContentLink:
        break;
    }
    return "The files were uploaded, but the shareable link could not be found.";
}

std::string ShareController::Error::diagnosticText() const {
    switch (case_) {
    case Case::underlying:
        return "underlying(" + underlying_.value().diagnosticText() + ")";
    case Case::missingFile:
        return "missingFile";
    case Case::missingWebContentLink:
        break;
    }
    return "missingWebContentLink";
}

ShareController::ShareController(Context context, std::string accessToken)
    : job_(std::make_shared<ShareJob>(std::move(context),
                                      std::make_shared<GoogleWebservice>(std::move(accessToken)))) {
}

ShareController::ShareController(ShareController&& other) noexcept = default;
ShareController& ShareController::operator=(ShareController&& other) noexcept = default;
ShareController::~ShareController() = default;

void ShareController::upload(ProgressCallback progress, Completion completion) {
    if (job_) {
        job_->upload(std::move(progress), std::move(completion));
    }
}

void ShareController::cancel() {
    if (job_) {
        job_->cancel();
    }
}

} // namespace cirrus
