#pragma once

#include <expected>
#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "Cirrus/platform/Json.h"
#include "emulator/DriveState.h"

namespace cirrus::emulator {

/// The names of the members that an answer about a file has.
using FieldNames = std::set<std::string, std::less<>>;

/// A selection that Drive refuses, with the name it stumbles over.
struct InvalidField {
    std::string name;
};

/// Reads a comma-separated selector; without one, the members that Drive sends unasked.
[[nodiscard]] std::expected<FieldNames, InvalidField>
parseFields(const std::optional<std::string>& selector);

/// The file as Drive describes it, with those of the named members that such a file has.
[[nodiscard]] JsonValue fileResource(const File& file, const FieldNames& fields);

/// The same with the members that Drive sends unasked.
[[nodiscard]] JsonValue fileResource(const File& file);

} // namespace cirrus::emulator
