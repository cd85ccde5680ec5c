#pragma once

#include <optional>
#include <string>

#include "emulator/drive/DriveState.h"

namespace cirrus::emulator {

/// The files that a search expression describes; nullopt if the emulator does not understand it.
///
/// It understands `name = 'TEXT'` and `mimeType = 'TEXT'`, joined by `and`, all with blanks between
/// them. In a text, a backslash escapes a quote or a backslash.
[[nodiscard]] std::optional<FileFilter> parseQuery(const std::string& text);

} // namespace cirrus::emulator
