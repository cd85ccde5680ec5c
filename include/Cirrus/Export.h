#pragma once

#include <version>

#ifndef __cpp_lib_expected
#error "Cirrus needs C++23: GCC 12, Clang 19 or newer"
#endif

/// Marks what the shared library shows; every other symbol is hidden. The build sets it where
/// visibility is not what decides.
#ifndef CIRRUS_EXPORT
#define CIRRUS_EXPORT __attribute__((visibility("default")))
#endif
