#pragma once

#include <concepts>
#include <expected>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace cirrus {

/// The outcome of an operation: a value, or the operation's own kind of error.
template <class Value, class Error>
using Result = std::expected<Value, Error>;

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

/// Any error: one immutable value of whatever error kind it was made from. Copies share it.
/// Safe to read from any thread.
class AnyError {
public:
    /// Holds this value.
    template <ErrorKind Kind>
        requires(!std::same_as<Kind, AnyError>)
    explicit AnyError(Kind kind) : held_(std::make_shared<Model<Kind>>(std::move(kind))) {}

    /// What the error is, for a log or a developer: its case name and payload.
    [[nodiscard]] std::string diagnosticText() const { return held_->diagnosticText(); }

    /// Whether the kind has a user-facing description of its own.
    [[nodiscard]] bool isDescribed() const { return held_->isDescribed(); }

    /// The kind's user-facing description; absent when the kind has none or gives none.
    [[nodiscard]] std::optional<std::string> errorDescription() const {
        return held_->errorDescription();
    }

    /// The user-facing description of a described kind, which may be absent; `generic` for any
    /// other kind.
    [[nodiscard]] std::optional<std::string> errorDescriptionOr(std::string generic) const {
        return isDescribed() ? errorDescription() : std::move(generic);
    }

    /// The held value when it is of this kind, else null. It lives as long as this error.
    template <ErrorKind Kind>
    [[nodiscard]] const Kind* as() const {
        const auto* model = dynamic_cast<const Model<Kind>*>(held_.get());
        return model != nullptr ? &model->kind : nullptr;
    }

private:
    class Held {
    public:
        Held() = default;
        Held(const Held&) = delete;
        Held& operator=(const Held&) = delete;
        virtual ~Held() = default;
        [[nodiscard]] virtual std::string diagnosticText() const = 0;
        [[nodiscard]] virtual bool isDescribed() const = 0;
        [[nodiscard]] virtual std::optional<std::string> errorDescription() const = 0;
    };

    template <class Kind>
    class Model final : public Held {
    public:
        explicit Model(Kind value) : kind(std::move(value)) {}

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

    std::shared_ptr<const Held> held_;
};

} // namespace cirrus
