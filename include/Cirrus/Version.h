#pragma once

#include <Cirrus/Export.h>

namespace cirrus {

/// The version of the library that runs, which need not be the one compiled against: "major.minor"
/// as a number.
CIRRUS_EXPORT extern const double CirrusVersionNumber;
/// The same version as text, "major.minor.patch". Lives as long as the process.
CIRRUS_EXPORT extern const char* const CirrusVersionString;

} // namespace cirrus
