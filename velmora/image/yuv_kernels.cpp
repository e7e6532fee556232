// A luminance plane and a plane of chroma pairs.
#include "velmora/image/internal/row_routines.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "velmora/image/yuv_kernels.cpp"
#include "velmora/platform/internal/simd_kernels.h"

HWY_BEFORE_NAMESPACE();
namespace velmora::internal {
namespace HWY_NAMESPACE {
#if VELMORA_HAS_KERNELS

void AddYuvKernelsOfSet(RowRoutines&) {}

#endif  // VELMORA_HAS_KERNELS
}  // namespace HWY_NAMESPACE
}  // namespace velmora::internal
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace velmora::internal {

void AddYuvKernels(platform::SimdSet set, RowRoutines& routines) {
  VELMORA_CALL_KERNELS(set, AddYuvKernelsOfSet(routines));
}

}  // namespace velmora::internal
#endif  // HWY_ONCE
