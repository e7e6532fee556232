// For which processors kernels are compiled. Included before any header of Highway.
#pragma once

// All of them, whatever the compiler's flags allow anyway, so that a lower set can be chosen.
#define HWY_COMPILE_ALL_ATTAINABLE
// What AVX-512 gains needs its byte permutations (VBMI); SSE4 adds nothing that the kernels use.
#define HWY_WANT_AVX3_DL
#define HWY_DISABLED_TARGETS (HWY_SSE4 | HWY_AVX3)
// Highway leaves AVX2 out of 32-bit builds by default; its own tests pass with it.
#if defined(__i386__)
#define HWY_BROKEN_TARGETS (HWY_AVX3 | HWY_AVX3_DL)
#endif

#include <hwy/detect_targets.h>
