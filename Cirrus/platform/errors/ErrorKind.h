#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include <Cirrus/Error.h>

namespace cirrus {

class AnyError::Held {
public:
    virtual ~Held() = default;
    [[nodiscard]] virtual std::string diagnosticText() const = 0;

    /// What the error has to say to the user; `generic` if errors of its kind say nothing.
    [[nodiscard]] virtual std::optional<std::string>
    errorDescription(std::optional<std::string> generic) const = 0;
};

/// Holds an error of any kind that has a `diagnosticText`. One with a text for the user has an
/// `errorDescription` too, whose nullopt means: deliberately no text.
template <class Kind>
class HeldError final : public AnyError::Held {
public:
    explicit HeldError(Kind value) : kind(std::move(value)) {}

    [[nodiscard]] std::string diagnosticText() const override { return kind.diagnosticText(); }

    [[nodiscard]] std::optional<std::string>
    errorDescription(std::optional<std::string> generic) const override {
        if constexpr (requires { kind.errorDescription(); }) {
            return kind.errorDescription();
        } else {
            return generic;
        }
    }

    const Kind kind;
};

template <class Kind>
AnyError anyError(Kind kind) {
    return AnyError(std::make_shared<const HeldError<Kind>>(std::move(kind)));
}

/// The held value if it is of this kind, else null. It lives as long as the error.
template <class Kind>
const Kind* errorAs(const AnyError& error) {
    const auto* const held = dynamic_cast<const HeldError<Kind>*>(&error.held());
    return held != nullptr ? &held->kind : nullptr;
}

/// The name of a case and, in parentheses, the diagnostic text of what it carries.
[[nodiscard]] std::string caseText(std::string name, const std::optional<AnyError>& carried);

} // namespace cirrus
