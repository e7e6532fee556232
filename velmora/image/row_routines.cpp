#include "velmora/image/internal/row_routines.h"

namespace velmora::internal {
namespace {

RowRoutines MakeRoutines(platform::SimdSet set) {
  RowRoutines routines = kPlainRowRoutines;
  AddChannelKernels(set, routines);
  AddPaletteKernels(set, routines);
  AddWordKernels(set, routines);
  AddYuvKernels(set, routines);
  return routines;
}

}  // namespace

const RowRoutines& ChosenRowRoutines() {
  static const RowRoutines routines = MakeRoutines(platform::ChosenSimdSet());
  return routines;
}

}  // namespace velmora::internal
