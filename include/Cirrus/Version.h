#pragma once

#include <Cirrus/Export.h>

// The version of the headers, for `#if`.
#define CIRRUS_VERSION_MAJOR 1
#define CIRRUS_VERSION_MINOR 0
#define CIRRUS_VERSION_PATCH 0

namespace cirrus {

/// The version of the library that runs, which need not be the one compiled against: "major.minor"
/// as a number, which cannot tell 1.10 from 1.1. The text below can.
CIRRUS_EXPORT extern const double CirrusVersionNumber;
/// The same version as text, "major.minor.patch". Lives as long as the process.
CIRRUS_EXPORT extern const char* const CirrusVersionString;

} // namespace cirrus
