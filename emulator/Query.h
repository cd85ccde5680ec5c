#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "emulator/DriveState.h"

namespace cirrus::emulator {

/// The files that Drive's search expression describes; nothing when the expression is broken.
///
/// Known are `name` (`=`, `!=`, `contains`), `mimeType` (`=`, `!=`), `trashed` (`=`, `!=`) and
/// `'id' in parents`, with `and`, `or`, `not` and parentheses. `rootId` is what the id `root`
/// stands for. The filter owns all that it needs.
[[nodiscard]] std::optional<FileFilter> parseQuery(std::string_view text,
                                                   const std::string& rootId);

} // namespace cirrus::emulator
