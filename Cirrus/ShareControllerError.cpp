#include <Cirrus/ShareController.h>

#include <utility>

#include "Cirrus/FileUploader.h"
#include "Cirrus/platform/errors/ErrorKind.h"
#include "Cirrus/webservice/WebserviceError.h"

namespace cirrus {

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

FailureReason ShareController::Error::reason() const {
    if (kind() == Case::missingWebContentLink) {
        return FailureReason::noLink;
    }
    const auto* const error = underlyingError();
    if (error == nullptr || errorAs<FileUploader::Error>(*error) != nullptr) {
        return FailureReason::filesFailed;
    }
    const auto* const refusal = errorAs<WebserviceError>(*error);
    return refusal != nullptr ? refusal->reason() : FailureReason::other;
}

std::optional<std::int64_t> ShareController::Error::serviceCode() const {
    const auto* const error = underlyingError();
    const auto* const refusal = error != nullptr ? errorAs<WebserviceError>(*error) : nullptr;
    return refusal != nullptr ? refusal->serviceCode() : std::nullopt;
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

} // namespace cirrus
