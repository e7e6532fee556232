// Words of three channels: 565 and 555.
#include "velmora/image/internal/row_routines.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "velmora/image/word_kernels.cpp"
#include "velmora/platform/internal/simd_kernels.h"

HWY_BEFORE_NAMESPACE();
namespace velmora::internal {
namespace HWY_NAMESPACE {
#if VELMORA_HAS_KERNELS

void AddWordKernelsOfSet(RowRoutines&) {}

#endif  // VELMORA_HAS_KERNELS
}  // namespace HWY_NAMESPACE
}  // namespace velmora::internal
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace velmora::internal {

void AddWordKernels(platform::SimdSet set, RowRoutines& routines) {
  VELMORA_CALL_KERNELS(set, AddWordKernelsOfSet(routines));
}

}  // namespace velmora::internal
#endif  // HWY_ONCE
