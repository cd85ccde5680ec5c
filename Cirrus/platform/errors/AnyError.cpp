#include <utility>

#include "Cirrus/platform/errors/ErrorKind.h"

namespace cirrus {

AnyError::AnyError(std::shared_ptr<const Held> held) : held_(std::move(held)) {}

std::string AnyError::diagnosticText() const {
    return held_->diagnosticText();
}

std::optional<std::string> AnyError::errorDescription() const {
    return held_->errorDescription(std::nullopt);
}

std::string caseText(std::string name, const std::optional<AnyError>& carried) {
    return carried ? std::move(name) + "(" + carried->diagnosticText() + ")" : name;
}

} // namespace cirrus
