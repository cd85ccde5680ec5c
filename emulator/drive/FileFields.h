#pragma once

#include <expected>
#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "emulator/drive/DriveState.h"
#include "emulator/drive/Json.h"

namespace cirrus::emulator {

/// The names of the members that an answer about a file has.
using FieldNames = std::set<std::string, std::less<>>;

/// Reads a comma-separated selector; without one, the members that Drive sends by default. The
/// error is the first name that Drive does not know.
[[nodiscard]] std::expected<FieldNames, std::string>
parseFields(const std::optional<std::string>& selector);

/// The file as Drive describes it, with the named members as far as such a file has them.
[[nodiscard]] Json fileResource(const DriveFile& file, const FieldNames& fields);

/// The same with the members that Drive sends by default.
[[nodiscard]] Json fileResource(const DriveFile& file);

} // namespace cirrus::emulator
