#pragma once

/// Marks what the shared library shows; every other symbol is hidden.
#define CIRRUS_EXPORT __attribute__((visibility("default")))
