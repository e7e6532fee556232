/// @file
/// Large images in portions.
#pragma once

#include <cstdint>
#include <vector>

#include "velmora_kit/region_work.h"

namespace velmora::kit {

/// The most pixels that a module hands to a library in one call, which cannot be interrupted.
inline constexpr std::int64_t kMostPixelsAtOnce = 2'000'000;

/// By how much a window must be reduced to have that many pixels or fewer.
/// @return 1 or more
int ReductionOf(const Window& window, std::int64_t mostPixels = kMostPixelsAtOnce);

/// Covers a window with windows of `kMostPixelsAtOnce` pixels or fewer, row by row. Neighbours
/// overlap by a quarter of their sides, so that what is smaller than that lies within one of them.
/// @return the window itself if it is small enough
std::vector<Window> TilesOf(const Window& window);

}  // namespace velmora::kit
