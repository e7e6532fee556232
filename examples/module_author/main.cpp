// A recognition module in one program: the smallest item, result, region, unit and observer that
// implement everything the library asks of them. Copy what you need.
//
//      image -> module -> SpotRegion (one a spot) -> SpotsUnit -> observer looks, and may change it
//                                                        |
//      application <- CSpotResult <- SpotResult <- SpotItem (one a region that is left)
//
// Prints:
//   observer: 3 spots in BKDR_1229116576, drops the one at (50,5)
//   spot at (4,3) to (13,8), by target/find-spots
//   spot at (20,12) to (33,30), by target/find-spots
//   Successful.

#include <cstdio>
#include <cstring>

#include "spot_item.h"
#include "spot_region.h"
#include "spot_result.h"
#include "spots_unit.h"
#include "velmora/image/nx_image_data.h"
#include "velmora/results/intermediate_result_receiver.h"

namespace spots {
namespace {

using velmora::NxImageData;
using velmora::NxRef;
using velmora::NxRegionImageInfo;
using velmora::NxSourceImageObject;

constexpr int kWidth = 64;
constexpr int kHeight = 48;

// A white page with three dark rectangles.
NxRef<NxImageData> MakePage() {
  unsigned char pixels[kWidth * kHeight];
  std::memset(pixels, 255, sizeof(pixels));
  const auto fill = [&pixels](int left, int top, int right, int bottom) {
    for (int y = top; y <= bottom; ++y) {
      for (int x = left; x <= right; ++x) pixels[y * kWidth + x] = 0;
    }
  };
  fill(4, 3, 13, 8);
  fill(50, 5, 51, 6);
  fill(20, 12, 33, 30);
  return new NxImageData(sizeof(pixels), pixels, kWidth, kHeight, kWidth, vb::PXF_Grayscale8, 0,
                         nullptr);
}

// ---- the module ---------------------------------------------------------------------------------

bool IsDark(const NxImageData& image, int x, int y) {
  return x >= 0 && y >= 0 && x < image.GetWidth() && y < image.GetHeight() &&
         image.GetBytes()[y * image.GetStride() + x] < 128;
}

// Upright dark rectangles, each known by its upper left pixel.
NxRef<SpotsUnit> FindSpots(NxSourceImageObject* source, NxRef<NxRegionImageInfo> info) {
  NxRef<SpotsUnit> unit = new SpotsUnit(source, info.get());
  const NxRef<NxImageData> image = info->GetImage();
  unit->CopySourceInfoFromImage(image.get());
  for (int y = 0; y < image->GetHeight(); ++y) {
    for (int x = 0; x < image->GetWidth(); ++x) {
      if (!IsDark(*image, x, y) || IsDark(*image, x - 1, y) || IsDark(*image, x, y - 1)) continue;
      int right = x;
      int bottom = y;
      while (IsDark(*image, right + 1, y)) ++right;
      while (IsDark(*image, x, bottom + 1)) ++bottom;
      const velmora::NxPoint_<int> corners[] = {{x, y}, {right, y}, {right, bottom}, {x, bottom}};
      NxRef<SpotRegion> spot = new SpotRegion(source, info, velmora::Nx_Quad(corners));
      spot->SetModeName("rectangles");
      spot->SetConfidence(right - x < 5 ? 20 : 90);
      unit->AddElement(spot);
    }
  }
  return unit;
}

// Shows the unit to an observer who wants to see it. The reference is the observer's for the call.
void Publish(SpotsUnit* unit, vi::CAbstractIntermediateResultReceiver* observer) {
  const vi::CObservationParameters* wanted = observer->GetObservationParameters();
  if (!wanted->IsResultUnitTypeObserved(kSpotsUnit) || !wanted->IsTaskObserved("find-spots")) {
    return;
  }
  const vi::IntermediateResultInfo info = {"target", "find-spots", 0};
  observer->OnUnitResultReceived(unit->RetainCache(), &info);
  unit->ReleaseCache();
}

NxRef<SpotResult> MakeResult(const SpotsUnit& unit) {
  NxRef<SpotResult> result =
      new SpotResult(unit.GetOriginalImageHashId(), unit.GetOriginalImageTag());
  for (int i = 0; i < unit.GetCount(); ++i) {
    NxRef<SpotItem> item = new SpotItem(unit.GetPredetectedRegion(i)->GetLocation());
    item->SetTargetAndTaskName("target", "find-spots");
    result->AddResultItem(item);
  }
  return result;
}

// ---- the application ----------------------------------------------------------------------------

// Looks at every unit and takes out what it does not believe in.
class Doubter final : public vi::CAbstractIntermediateResultReceiver {
 public:
  Doubter() { GetObservationParameters()->SetObservedResultUnitTypes(kSpotsUnit); }

  void OnTargetROIResultsReceived(const vi::CIntermediateResult*,
                                  const vi::IntermediateResultInfo*) override {}
  void OnTaskResultsReceived(const vi::CIntermediateResult*,
                             const vi::IntermediateResultInfo*) override {}
  void OnSectionResultsReceived(const vi::CIntermediateResult*,
                                const vi::IntermediateResultInfo*) override {}
  void OnUnitResultReceived(vi::CIntermediateResultUnit* unit,
                            const vi::IntermediateResultInfo*) override {
    auto* regions = dynamic_cast<vi::CPredetectedRegionsUnit*>(unit);
    if (regions == nullptr) return;
    for (int i = regions->GetCount() - 1; i >= 0; --i) {
      const vi::CPredetectedRegionElement* region = regions->GetPredetectedRegion(i);
      if (region->GetConfidence() >= 50) continue;
      const auto& corner = region->GetLocation().points[0];
      std::printf("observer: %d spots in %s, drops the one at (%d,%d)\n", regions->GetCount(),
                  unit->GetOriginalImageHashId(), corner[0], corner[1]);
      regions->RemovePredetectedRegion(i);
    }
  }
};

void Print(const CSpotResult& result) {
  for (int i = 0; i < result.GetItemsCount(); ++i) {
    const auto* spot = dynamic_cast<const CSpotResultItem*>(result.GetItem(i));
    if (spot == nullptr) continue;
    const auto location = spot->GetLocation();
    std::printf("spot at (%d,%d) to (%d,%d), by %s/%s\n", location.points[0][0],
                location.points[0][1], location.points[2][0], location.points[2][1],
                spot->GetTargetROIDefName(), spot->GetTaskName());
  }
  std::printf("%s\n", result.GetErrorString());
}

void Run() {
  const NxRef<NxImageData> page = MakePage();
  const NxRef<NxSourceImageObject> source = new NxSourceImageObject(page.get(), 1, 10000);
  const double identity[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
  const NxRef<SpotsUnit> unit =
      FindSpots(source.get(), new NxRegionImageInfo(page.get(), identity));
  Doubter observer;
  Publish(unit.get(), &observer);
  CSpotResult* result = MakeResult(*unit)->ToApplication();
  Print(*result);
  result->Release();
}

}  // namespace
}  // namespace spots

int main() {
  spots::Run();
  return 0;
}
