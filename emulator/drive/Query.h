#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "emulator/drive/DriveState.h"

namespace cirrus::emulator {

/// The files that a search expression describes; nullopt if the emulator does not understand it.
///
/// It understands `name = 'TEXT'`, `mimeType = 'TEXT'`, `trashed = true` or `false`, and
/// `'ID' in parents`, joined by `and`. In a text, a backslash escapes a quote or a backslash.
/// The id `root` stands for `rootId`. The filter refers to neither argument.
[[nodiscard]] std::optional<FileFilter> parseQuery(std::string_view text,
                                                   const std::string& rootId);

} // namespace cirrus::emulator
