// The loops over the pixels of one row, one for each source layout and target.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "velmora/platform/internal/simd.h"

namespace velmora::internal {

// How the pixels of a source lie in memory. Channels in the order of their bytes.
enum class SourceLayout : std::uint8_t {
  Bit,          // 8 pixels a byte, most significant bit first, through a palette
  Nibble,       // 2 pixels a byte, high nibble first, through a palette (to grey) or as grey
  Byte,         // one byte
  IndexedByte,  // one byte, through a palette
  Rgb565,       // little-endian word
  Rgb555,       // little-endian word
  Bgr24,
  Rgb24,
  YuvVu,  // luminance plane, plane of V, U pairs
  YuvUv,  // luminance plane, plane of U, V pairs
  Bgra32,
  Rgba32,
  Bgr48,  // little-endian words, here and below
  Rgba64,
  Bgra64,
};
inline constexpr std::size_t kSourceLayoutCount = 15;

// What becomes of the colours when the target is grey.
enum class GreyKind : std::uint8_t { Luminance, Red, Green, Blue };
inline constexpr std::size_t kGreyKindCount = 4;

using Byte = unsigned char;

// Converts `width` pixels. `palette` has 256 entries of one byte (target grey) or of four bytes
// B, G, R, 0 (target colour); layouts without a palette do not read it. Nothing overlaps.
using RowRoutine = void (*)(const Byte* source, Byte* target, int width, const Byte* palette);

// Converts `width` pixels of a YUV row to B, G, R. Pixels 2k and 2k + 1 share the chroma pair at
// chroma[2k]; the pair of a last single pixel is read whole.
using YuvRowRoutine = void (*)(const Byte* luminance, const Byte* chroma, Byte* target, int width);

// Does the same with one chroma pair for the whole row.
using YuvFlatRowRoutine = void (*)(const Byte* luminance, const Byte* pair, Byte* target,
                                   int width);

// A set of routines, one for each place. A faster one takes its place in a copy of the plain set,
// entry by entry; the plain set stays what the others are compared with.
struct RowRoutines {
  // [layout][kind]; null: refused.
  std::array<std::array<RowRoutine, kGreyKindCount>, kSourceLayoutCount> toGrey;
  // [layout]; null for the two YUV layouts, which have the routines below.
  std::array<RowRoutine, kSourceLayoutCount> toColour;
  // Chroma pairs V, U; then U, V.
  std::array<YuvRowRoutine, 2> yuvToColour;
  std::array<YuvFlatRowRoutine, 2> yuvFlatToColour;
};

// Portable loops, written for clarity before speed.
extern const RowRoutines kPlainRowRoutines;

// Rows that are shorter gain nothing from kernels.
inline constexpr int kMinKernelWidth = 16;

// The routines that conversions use for rows of `width` pixels: the plain ones, with the kernels of
// the chosen set of vector instructions in their places if there are at least kMinKernelWidth. The
// choice is made once for an image; row by row it would cost a tenth of a short row.
const RowRoutines& ChosenRowRoutines(int width);

// Put the kernels of a set in their places, one function for each family of source layouts. The
// plain set has none.
void AddChannelKernels(platform::SimdSet set, RowRoutines& routines);  // bytes and 16-bit channels
void AddPaletteKernels(platform::SimdSet set, RowRoutines& routines);  // bits, nibbles, one byte
void AddWordKernels(platform::SimdSet set, RowRoutines& routines);     // 565 and 555
void AddYuvKernels(platform::SimdSet set, RowRoutines& routines);

}  // namespace velmora::internal
