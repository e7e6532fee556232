// The example's classes as a client of the library: every pure operation is implemented, and casts
// between the faces hold on both sides of the library's border.

#include <gtest/gtest.h>

#include "examples/module_author/spot_item.h"
#include "examples/module_author/spot_region.h"
#include "examples/module_author/spot_result.h"
#include "examples/module_author/spots_unit.h"
#include "velmora/region/nx_intermediate_result.h"

namespace spots {
namespace {

using velmora::NxIntermediateResult;
using velmora::NxRef;

vb::CQuadrilateral Square(int left, int top, int size) {
  return {{{left, top}, {left + size, top}, {left + size, top + size}, {left, top + size}}, -1};
}

NxRef<SpotRegion> NewSpot(int left) {
  NxRef<velmora::NxRegionImageInfo> info = new velmora::NxRegionImageInfo(nullptr, nullptr);
  return new SpotRegion(nullptr, info, velmora::Nx_Quad(Square(left, 0, 2).points));
}

TEST(ModuleAuthor, RegionIsSeenThroughItsElement) {
  const NxRef<SpotRegion> root = NewSpot(0);
  NxRef<SpotRegion> spot = NewSpot(1);
  spot->SetReferenceRegion(root.get());
  const vi::CRegionObjectElement* element = spot->GetCRegionObjectElementPtr();
  EXPECT_EQ(element->GetElementType(), kSpotRegion);
  EXPECT_EQ(element->GetReferencedElement(), root->GetCRegionObjectElementPtr());
  EXPECT_EQ(dynamic_cast<const velmora::Nx_Quad*>(element), spot.get());

  vi::CRegionObjectElement* clone = element->Clone();
  EXPECT_EQ(clone->SetLocation(Square(2, 0, 1)), 0);
  vb::CQuadrilateral bent = Square(2, 0, 8);
  bent.points[2] = {3, 1};
  EXPECT_EQ(clone->SetLocation(bent), velmora::EC_QuadrilateralInvalid);
  EXPECT_EQ(clone->GetLocation().points[0][0], 2);
  EXPECT_EQ(element->GetLocation().points[0][0], 1);
  EXPECT_EQ(dynamic_cast<SpotRegion*>(clone)->GetCRegionObjectElementPtr(), clone);
  spot->SetInvalid();
  EXPECT_FALSE(dynamic_cast<SpotRegion*>(clone)->IsValid()) << "copies share their status";
  clone->Release();

  element->Retain();
  spot.reset();
  EXPECT_EQ(element->GetLocation().points[0][0], 1);
  element->Release();
}

TEST(ModuleAuthor, UnitIsFoundAcrossTheBorder) {
  const NxRef<SpotsUnit> unit = new SpotsUnit(nullptr, nullptr);
  const NxRef<NxIntermediateResult> result = new NxIntermediateResult;
  result->AddUnit(unit.get());
  EXPECT_EQ(result->GetIntermediateResultUnit(0), nullptr) << "nobody has looked for it yet";
  EXPECT_TRUE(unit->TransToCIntermediateResultUnitPtr()) << "the library casts a class of ours";
  const vi::CIntermediateResult& lent = *result;
  const vi::CIntermediateResultUnit* face = lent.GetIntermediateResultUnit(0);
  EXPECT_EQ(dynamic_cast<const vi::CPredetectedRegionsUnit*>(face), unit.get());
  EXPECT_EQ(dynamic_cast<const velmora::NxObjectBase*>(face), unit.get());
  EXPECT_EQ(dynamic_cast<const vi::CTextZonesUnit*>(face), nullptr);

  unit->AddElement(NewSpot(1));
  vi::CIntermediateResultUnit* clone = face->Clone();
  const auto* regions = dynamic_cast<const vi::CPredetectedRegionsUnit*>(clone);
  EXPECT_EQ(regions->GetPredetectedRegion(0)->GetLocation().points[0][0], 1);
  EXPECT_NE(regions->GetPredetectedRegion(0), unit->GetPredetectedRegion(0));
  clone->Release();
}

TEST(ModuleAuthor, ItemsOutliveTheirResultWhenRetained) {
  NxRef<SpotItem> item = new SpotItem(Square(3, 4, 5));
  NxRef<velmora::basic_structures::NxvItemBase> reference = new SpotItem(Square(0, 0, 9));
  item->SetReferenceItem(reference);
  item->SetTargetAndTaskName("target", "task");
  CSpotResult* result = nullptr;
  {
    const NxRef<SpotResult> body = new SpotResult("BKDR_1", nullptr);
    body->AddResultItemExternal(item.get());
    EXPECT_EQ(body->GetCProductResultPtr(), static_cast<CSpotResult*>(body.get()));
    result = body->ToApplication();
  }
  EXPECT_EQ(result->GetItemsCount(), 1);
  const auto* spot = dynamic_cast<const CSpotResultItem*>(result->GetItem(0));
  EXPECT_EQ(spot->GetType(), kSpotItem);
  EXPECT_EQ(spot->GetReferenceItem(), reference->GetCCapturedResultItemPtr());
  spot->Retain();
  item.reset();
  result->Release();
  EXPECT_STREQ(spot->GetTaskName(), "task");
  vb::CCapturedResultItem* clone = spot->Clone();
  EXPECT_EQ(clone->GetReferenceItem(), nullptr);
  EXPECT_EQ(dynamic_cast<CSpotResultItem*>(clone)->GetLocation().points[2][1], 9);
  clone->Release();
  spot->Release();
}

}  // namespace
}  // namespace spots
