// Whole channels: 24, 32, 48 and 64 bits for a pixel.
#include "velmora/image/internal/row_routines.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "velmora/image/channel_kernels.cpp"
#include "velmora/platform/internal/simd_kernels.h"

HWY_BEFORE_NAMESPACE();
namespace velmora::internal {
namespace HWY_NAMESPACE {
#if VELMORA_HAS_KERNELS

void AddChannelKernelsOfSet(RowRoutines&) {}

#endif  // VELMORA_HAS_KERNELS
}  // namespace HWY_NAMESPACE
}  // namespace velmora::internal
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace velmora::internal {

void AddChannelKernels(platform::SimdSet set, RowRoutines& routines) {
  VELMORA_CALL_KERNELS(set, AddChannelKernelsOfSet(routines));
}

}  // namespace velmora::internal
#endif  // HWY_ONCE
