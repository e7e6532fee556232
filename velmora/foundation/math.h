/// @file
/// A guarded square root for callers in C.
#pragma once

#include "velmora/platform/export.h"

extern "C" {

/// Square root. For x below 0 it reports the C library's domain error (`errno` is EDOM) and gives a
/// NaN; -0.0, NaN and infinity give themselves, without an error.
/// @threadsafety any thread
VELMORA_EXPORT double Nc_Sqrt(double x);
}

namespace velmora {
using ::Nc_Sqrt;
}  // namespace velmora
