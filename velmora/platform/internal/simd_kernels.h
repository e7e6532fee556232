// Compiles the kernels of a source file once for each set of vector instructions. The file begins
//
//   #undef HWY_TARGET_INCLUDE
//   #define HWY_TARGET_INCLUDE "velmora/image/channel_kernels.cpp"  // its own name
//   #include "velmora/platform/internal/simd_kernels.h"
//
// has its kernels, written with Highway, in a part that is read once for each set,
//
//   HWY_BEFORE_NAMESPACE();
//   namespace velmora::internal {
//   namespace HWY_NAMESPACE {
//   #if VELMORA_HAS_KERNELS
//   void AddChannelKernelsOfSet(RowRoutines& routines) { ... }
//   #endif
//   }  // namespace HWY_NAMESPACE
//   }  // namespace velmora::internal
//   HWY_AFTER_NAMESPACE();
//
// and chooses among them where it is read once only:
//
//   #if HWY_ONCE
//   void AddChannelKernels(platform::SimdSet set, RowRoutines& routines) {
//     VELMORA_CALL_KERNELS(set, AddChannelKernelsOfSet(routines));
//   }
//   #endif
//
// Other headers are included before this one.

#include "velmora/platform/internal/highway_targets.h"
#include "velmora/platform/internal/simd.h"

// Reads the including file again for each set but one, for which that file then is read on.
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

// Per set: whether the part that is read now may define kernels.
#undef VELMORA_HAS_KERNELS
#if HWY_TARGET == HWY_SSSE3 || HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_AVX3_DL
#define VELMORA_HAS_KERNELS 1
#else
#define VELMORA_HAS_KERNELS 0
#endif

#ifndef VELMORA_CALL_KERNELS

#if HWY_ARCH_X86 && (HWY_TARGETS & HWY_AVX3_DL)
#define VELMORA_CALL_AVX512(call)          \
  case velmora::platform::SimdSet::Avx512: \
    N_AVX3_DL::call;                       \
    break;
#else
#define VELMORA_CALL_AVX512(call)          \
  case velmora::platform::SimdSet::Avx512: \
    break;
#endif

#if HWY_ARCH_X86
#define VELMORA_CALL_KERNELS(set, call)     \
  switch (set) {                            \
    case velmora::platform::SimdSet::Plain: \
      break;                                \
    case velmora::platform::SimdSet::Ssse3: \
      N_SSSE3::call;                        \
      break;                                \
    case velmora::platform::SimdSet::Avx2:  \
      N_AVX2::call;                         \
      break;                                \
      VELMORA_CALL_AVX512(call)             \
  }
#else
#define VELMORA_CALL_KERNELS(set, call) static_cast<void>(set)
#endif

#endif  // VELMORA_CALL_KERNELS
