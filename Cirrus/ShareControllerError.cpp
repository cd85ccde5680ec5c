#include <Cirrus/ShareController.h>

#include <array>
#include <utility>

#include "Cirrus/FileUploader.h"
#include "Cirrus/platform/errors/ErrorKind.h"
#include "Cirrus/webservice/WebserviceError.h"

namespace cirrus {

ShareController::Error::Error(Case kind, std::optional<AnyError> underlying)
    : kind_(kind), underlying_(std::move(underlying)) {}

ShareController::Error ShareController::Error::underlying(AnyError error) {
    return Error(Case::underlying, std::move(error));
}

ShareController::Error ShareController::Error::missingFile() {
    return Error(Case::missingFile);
}

ShareController::Error ShareController::Error::missingWebContentLink() {
    return Error(Case::missingWebContentLink);
}

ShareController::Error::Case ShareController::Error::kind() const {
    return kind_;
}

const AnyError* ShareController::Error::underlyingError() const {
    return underlying_ ? &*underlying_ : nullptr;
}

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
    switch (kind_) {
    case Case::underlying:
        return underlying_->held().errorDescription("Something went wrong, please try again.");
    case Case::missingFile:
        return "One or more files could not be located by Stashly. Make sure the files are not "
               "moved or deleted and try again.";
    default:
        return "The files were uploaded, but the shareable link could not be found.";
    }
}

std::string ShareController::Error::diagnosticText() const {
    /// In the order of `Case`.
    constexpr std::array names{"underlying", "missingFile", "missingWebContentLink"};
    return caseText(names.at(static_cast<std::size_t>(kind_)), underlying_);
}

} // namespace cirrus
