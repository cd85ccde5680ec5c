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

ShareController::Error::Error(Value value) : value_(std::move(value)) {}

ShareController::Error ShareController::Error::underlying(AnyError error) {
    return Error(std::move(error));
}

ShareController::Error ShareController::Error::missingFile() {
    return Error(MissingFile{});
}

ShareController::Error ShareController::Error::missingWebContentLink() {
    return Error(MissingWebContentLink{});
}

ShareController::Error::Case ShareController::Error::kind() const {
    return static_cast<Case>(value_.index());
}

const AnyError* ShareController::Error::underlyingError() const {
    return std::get_if<AnyError>(&value_);
}

std::optional<std::string> ShareController::Error::errorDescription() const {
    switch (kind()) {
    case Case::underlying:
        return underlyingError()->errorDescriptionOr("Something went wrong, please try again.");
    case Case::missingFile:
        return "One or more files could not be located by Stashly. Make sure the files are not "
               "moved or deleted and try again.";
    case Case::missingWebContentLink:
        break;
    }
    return "The files were uploaded, but the shareable link could not be found.";
}

std::string ShareController::Error::diagnosticText() const {
    switch (kind()) {
    case Case::underlying:
        return "underlying(" + underlyingError()->diagnosticText() + ")";
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
