// The module Locator: finds the parts of an image that could be codes.

#include <cmath>
#include <cstdint>

#include "modules/locator/candidates.h"
#include "velmora_kit/pixel_filters.h"
#include "velmora_kit/recogniser.h"
#include "velmora_kit/tiles.h"
#include "velmora_kit/units.h"

namespace velmora::modules {

using namespace kit;

namespace {

// Larger images are looked at reduced: what is a code shows there too, and takes a fraction of the
// time.
constexpr std::int64_t kMostPixels = 1'000'000;

class Locator : public Recogniser {
 public:
  explicit Locator(Settings& settings) : Recogniser({"Contrast"}) {
    rules_.radius = settings.GetInt("Radius", 1, 1000, rules_.radius);
    rules_.offset = settings.GetInt("Offset", 0, 255, rules_.offset);
    rules_.minSide = settings.GetInt("MinSide", 1, 10000, rules_.minSide);
    rules_.minCrossings = settings.GetInt("MinCrossings", 0, 10000, rules_.minCrossings);
    rules_.maxArea = settings.GetInt("MaxArea", 1, 10000, rules_.maxArea);
    rules_.maxCandidates = settings.GetInt("MaxCandidates", 1, 10000, rules_.maxCandidates);
  }

 private:
  int Recognise(RegionWork& work) override {
    const Window window = work.GetWindow(0);
    const int factor = ReductionOf(window, kMostPixels);
    const GreyImage reduced = factor > 1 ? Reduce(work.GetPixels(window), factor) : GreyImage();
    const GreyView view = factor > 1 ? reduced.View() : work.GetPixels(window);
    GreyImage dark;
    const bool isDarkWanted = work.IsObserved(kBinaryImageUnit);
    const std::vector<Candidate> candidates =
        FindCandidates(view, rules_, isDarkWanted ? &dark : nullptr);
    if (isDarkWanted) Publish(dark, work);

    const NxRef<CandidatesUnit> unit = work.MakeUnit<CandidatesUnit>();
    for (const Candidate& candidate : candidates) {
      Corner corners[4];
      for (std::size_t i = 0; i < 4; ++i) {
        corners[i].Set(
            window.left + static_cast<int>(std::lround(candidate.rectangle[i].x * factor)),
            window.top + static_cast<int>(std::lround(candidate.rectangle[i].y * factor)));
      }
      if (const auto region = work.MakeCandidate(corners, candidate.crossings)) {
        unit->AddElement(region);
      }
    }
    if (work.IsObserved(kCandidatesUnit)) work.Publish(unit.get());
    for (const NxRef<NxRegionObject>& region : unit->GetElementsVec()) work.AddRegion(region);
    return EC_Ok;
  }

  static void Publish(GreyImage& dark, const RegionWork& work) {
    for (std::uint8_t& pixel : dark.pixels) pixel = pixel != 0 ? 0 : 255;
    const basic_structures::CImageData image(dark.pixels.size(), dark.pixels.data(), nullptr,
                                             dark.width, dark.height, dark.width,
                                             basic_structures::PXF_Binary8, 0, nullptr);
    const NxRef<BinaryImageUnit> unit = work.MakeUnit<BinaryImageUnit>();
    unit->SetImageData(&image);
    work.Publish(unit.get());
  }

  CandidateRules rules_;
};

}  // namespace
}  // namespace velmora::modules

VELMORA_MODULE(velmora::modules::Locator)
