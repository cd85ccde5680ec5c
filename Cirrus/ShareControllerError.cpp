#include <Cirrus/ShareController.h>

#include <array>

#include "Cirrus/FileUploader.h"
#include "Cirrus/webservice/WebserviceError.h"

namespace cirrus {

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
    /// In the order of `Case`.
    constexpr std::array names{"underlying", "missingFile", "missingWebContentLink"};
    return caseText(names.at(static_cast<std::size_t>(kind_)), underlying_);
}

} // namespace cirrus
