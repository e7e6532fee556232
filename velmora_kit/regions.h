/// @file
/// What modules find.
#pragma once

#include <string>
#include <utility>

#include "velmora/region/region_object.h"
#include "velmora/results/region_object_element.h"
#include "velmora_kit/shared_faces.h"

namespace velmora::kit {

/// The kinds of regions that the modules and the capture library agree on.
inline constexpr auto kCandidateRegion =
    static_cast<intermediate_results::RegionObjectElementType>(1);
inline constexpr auto kCodeRegion = static_cast<intermediate_results::RegionObjectElementType>(2);

/// A part of an image that other tasks are to look at; observers see it as a predetected region.
class CandidateRegion final : public PredetectedRegionBase<CandidateRegion> {
 public:
  /// A region as large as the image of @p info, until its location is set.
  CandidateRegion(NxSourceImageObject* source, const NxRef<NxRegionImageInfo>& info)
      : PredetectedRegionBase(source, kCandidateRegion, info, nullptr) {}
};

/// A code that was read: a region with its symbology, its text and its own bytes. A region of the
/// kind `kCodeRegion` is of this class.
class CodeRegion final : public NxRegionObject {
 public:
  /// A region as large as the image of @p info, until its location is set.
  CodeRegion(NxSourceImageObject* source, const NxRef<NxRegionImageInfo>& info,
             std::string symbology, std::string text, std::string bytes)
      : NxRegionObject(source, kCodeRegion, info, nullptr),
        symbology_(std::move(symbology)),
        text_(std::move(text)),
        bytes_(std::move(bytes)) {}

  const std::string& GetSymbology() const { return symbology_; }
  const std::string& GetText() const { return text_; }
  const std::string& GetBytes() const { return bytes_; }

 private:
  std::string symbology_;
  std::string text_;
  std::string bytes_;
};

}  // namespace velmora::kit
