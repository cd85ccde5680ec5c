#pragma once

#include <expected>
#include <memory>
#include <optional>
#include <string>

#include <Cirrus/Export.h>

namespace cirrus {

/// The outcome of an operation: a value, or the operation's own kind of error.
template <class Value, class Error>
using Result = std::expected<Value, Error>;

/// An error of a lower layer, of whatever kind: one immutable value. Copies share it. Safe to read
/// from any thread.
class CIRRUS_EXPORT AnyError {
public:
    /// The library's side of it.
    class Held;

    /// Only the library makes errors.
    explicit AnyError(std::shared_ptr<const Held> held);

    /// What the error is, for a log or a developer: the name of its case and what it carries.
    [[nodiscard]] std::string diagnosticText() const;

    /// The text for the user, UTF-8; absent if errors of this kind have none, or this one gives
    /// none.
    [[nodiscard]] std::optional<std::string> errorDescription() const;

    /// For the library.
    [[nodiscard]] const Held& held() const { return *held_; }

private:
    std::shared_ptr<const Held> held_;
};

} // namespace cirrus
