// The result item of the spot module: what an application reads (CSpotResultItem), and the class
// behind it (SpotItem).
#pragma once

#include "velmora/geometry/quadrilateral.h"
#include "velmora/results/captured_result_item.h"
#include "velmora_kit/shared_faces.h"

namespace spots {

namespace vb = velmora::basic_structures;

/// The module's number among the kinds of item.
constexpr auto kSpotItem = static_cast<vb::CapturedResultItemType>(1 << 20);

/// A dark spot as an application sees it. Only this class goes into the module's public headers.
class CSpotResultItem : public vb::CCapturedResultItem {
 public:
  /// Where the spot is in the original image.
  virtual vb::CQuadrilateral GetLocation() const = 0;
};

/// What an item is asked for is in NxvItemBase; the base answers from there, clones and counts.
class SpotItem final : public velmora::kit::ResultItemBase<SpotItem, CSpotResultItem> {
 public:
  explicit SpotItem(const vb::CQuadrilateral& location) : location_(location) {}

  // One override for both bases.
  vb::CapturedResultItemType GetType() const override { return kSpotItem; }
  vb::CQuadrilateral GetLocation() const override { return location_; }

 private:
  vb::CQuadrilateral location_;
};

}  // namespace spots
