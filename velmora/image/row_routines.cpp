#include "velmora/image/internal/row_routines.h"

namespace velmora::internal {
namespace {

void AddKernels(platform::SimdSet set, RowRoutines& routines) {
  AddChannelKernels(set, routines);
  AddPaletteKernels(set, routines);
  AddWordKernels(set, routines);
  AddYuvKernels(set, routines);
}

// Starts from the least capable set: a set has kernels only where they gain on those before.
RowRoutines MakeRoutines(platform::SimdSet chosen) {
  RowRoutines routines = kPlainRowRoutines;
  for (const auto set :
       {platform::SimdSet::Ssse3, platform::SimdSet::Avx2, platform::SimdSet::Avx512}) {
    if (set <= chosen) AddKernels(set, routines);
  }
  return routines;
}

}  // namespace

const RowRoutines& ChosenRowRoutines(int width) {
  if (width < kMinKernelWidth) return kPlainRowRoutines;
  static const RowRoutines routines = MakeRoutines(platform::ChosenSimdSet());
  return routines;
}

}  // namespace velmora::internal
