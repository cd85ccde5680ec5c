#pragma once

#include "Cirrus/Export.h"

namespace cirrus {

/// The version of the library that runs, which need not be the one compiled against.
CIRRUS_EXPORT extern const double CirrusVersionNumber;
CIRRUS_EXPORT extern const char* const CirrusVersionString;

} // namespace cirrus
