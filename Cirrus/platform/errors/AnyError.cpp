#include <utility>

#include "Cirrus/platform/errors/ErrorKind.h"

namespace cirrus {

AnyError::AnyError(std::shared_ptr<const Held> held) : held_(std::move(held)) {}

std::string AnyError::diagnosticText() const {
    return held_->diagnosticText();
}

std::optional<std::string> AnyError::errorDescription() const {
    return held_->errorDescription();
}

std::optional<std::string> AnyError::errorDescriptionOr(std::string generic) const {
    return held_->isDescribed() ? held_->errorDescription() : std::move(generic);
}

} // namespace cirrus
