// The example's classes as a client of the library: every pure operation is implemented, and casts
// between the faces hold on both sides of the library's border.

#include "examples/module_author/spot_item.h"
#include "examples/module_author/spot_region.h"
#include "examples/module_author/spot_result.h"
#include "examples/module_author/spots_unit.h"
#include "tests/support/test.h"

namespace spots {
namespace {

using velmora::NxRef;

const vb::CQuadrilateral kPlace{{{3, 4}, {8, 4}, {8, 9}, {3, 9}}, -1};

TEST(ModuleAuthor, UnitsAndRegionsAreFoundAcrossTheBorderAndCloned) {
  NxRef<velmora::NxRegionImageInfo> info = new velmora::NxRegionImageInfo(nullptr, nullptr);
  const NxRef<SpotsUnit> unit = new SpotsUnit(nullptr, nullptr);
  unit->AddElement(new SpotRegion(nullptr, info, velmora::Nx_Quad(kPlace.points)));
  EXPECT_TRUE(unit->TransToCIntermediateResultUnitPtr()) << "the library casts a class of ours";
  const vi::CIntermediateResultUnit* face = unit->GetCIntermediateResultUnitPtr();
  EXPECT_EQ(dynamic_cast<const velmora::NxObjectBase*>(face), unit.get());
  EXPECT_EQ(dynamic_cast<const vi::CTextZonesUnit*>(face), nullptr);

  vi::CIntermediateResultUnit* clone = face->Clone();
  const auto* regions = dynamic_cast<const vi::CPredetectedRegionsUnit*>(clone);
  const vi::CPredetectedRegionElement* region = regions->GetPredetectedRegion(0);
  EXPECT_NE(region, unit->GetPredetectedRegion(0));
  EXPECT_NE(dynamic_cast<const velmora::Nx_Quad*>(region), nullptr);
  region->Retain();
  clone->Release();
  EXPECT_EQ(region->GetLocation().points[2][1], 9) << "outlives its unit";
  region->Release();
}

TEST(ModuleAuthor, ItemsOutliveTheirResultWhenRetained) {
  NxRef<SpotItem> item = new SpotItem(kPlace);
  item->SetReferenceItem(new SpotItem({}));
  item->SetTargetAndTaskName("target", "task");
  NxRef<SpotResult> body = new SpotResult("BKDR_1", nullptr);
  body->AddResultItemExternal(item.get());
  CSpotResult* result = body->ToApplication();
  body.reset();
  const auto* spot = dynamic_cast<const CSpotResultItem*>(result->GetItem(0));
  spot->Retain();
  item.reset();
  result->Release();
  EXPECT_STREQ(spot->GetTaskName(), "task");
  vb::CCapturedResultItem* clone = spot->Clone();
  EXPECT_TRUE(spot->GetReferenceItem() != nullptr && clone->GetReferenceItem() == nullptr);
  EXPECT_EQ(dynamic_cast<CSpotResultItem*>(clone)->GetLocation().points[2][1], 9);
  clone->Release();
  spot->Release();
}

}  // namespace
}  // namespace spots
