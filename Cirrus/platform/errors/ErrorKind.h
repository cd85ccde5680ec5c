#pragma once

#include <concepts>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include <Cirrus/Error.h>

namespace cirrus {

/// An error kind: a value that can say, for a log, what it is.
template <class Kind>
concept ErrorKind = requires(const Kind& kind) {
    { kind.diagnosticText() } -> std::convertible_to<std::string>;
};

/// An error kind that also has a text for the user. nullopt: deliberately no text. Kinds without
/// this function get the generic text.
template <class Kind>
concept DescribedErrorKind = ErrorKind<Kind> && requires(const Kind& kind) {
    { kind.errorDescription() } -> std::same_as<std::optional<std::string>>;
};

class AnyError::Held {
public:
    Held() = default;
    Held(const Held&) = delete;
    Held& operator=(const Held&) = delete;
    virtual ~Held() = default;
    [[nodiscard]] virtual std::string diagnosticText() const = 0;
    [[nodiscard]] virtual bool isDescribed() const = 0;
    [[nodiscard]] virtual std::optional<std::string> errorDescription() const = 0;
};

template <ErrorKind Kind>
class HeldError final : public AnyError::Held {
public:
    explicit HeldError(Kind value) : kind(std::move(value)) {}

    [[nodiscard]] std::string diagnosticText() const override { return kind.diagnosticText(); }

    [[nodiscard]] bool isDescribed() const override { return DescribedErrorKind<Kind>; }

    [[nodiscard]] std::optional<std::string> errorDescription() const override {
        if constexpr (DescribedErrorKind<Kind>) {
            return kind.errorDescription();
        } else {
            return std::nullopt;
        }
    }

    const Kind kind;
};

template <ErrorKind Kind>
AnyError anyError(Kind kind) {
    return AnyError(std::make_shared<const HeldError<Kind>>(std::move(kind)));
}

/// The held value if it is of this kind, else null. It lives as long as the error.
template <ErrorKind Kind>
const Kind* errorAs(const AnyError& error) {
    const auto* const held = dynamic_cast<const HeldError<Kind>*>(&error.held());
    return held != nullptr ? &held->kind : nullptr;
}

} // namespace cirrus
