#include "examples/module_author/spots_unit.h"
#include "tests/region/kit.h"

namespace velmora {
namespace {

using intermediate_results::CIntermediateResult;
using intermediate_results::CIntermediateResultUnit;
using spots::SpotsUnit;

constexpr double kIdentity[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
constexpr double kMatrix[9] = {2, 0, 5, 0, 2, 7, 0, 0, 1};

void ExpectIdsAndMatrix(const SpotsUnit& unit, const char* hashId, const char* imageHashId,
                        const double* expected) {
  EXPECT_STREQ(unit.GetHashId(), hashId);
  EXPECT_STREQ(unit.GetOriginalImageHashId(), imageHashId);
  double matrix[9];
  unit.GetTransformMatrix(intermediate_results::TMT_OriginalToLocal, matrix);
  for (int i = 0; i < 9; ++i) EXPECT_EQ(matrix[i], expected[i]) << i;
}

unsigned LowWord(const void* pointer) {
  return static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(pointer));
}

TEST(UnitBase, FindsItsPublicFaceAcrossTheObjectAndLogsIt) {
  SpotsUnit unit(nullptr, nullptr);
  unit.SetHashId("unit");
  auto* const face = static_cast<CIntermediateResultUnit*>(&unit);
  SectionResultUnitBase faceless(nullptr, nullptr);
  const testing::ScopedLog log(LM_Text, 8);
  EXPECT_TRUE(SpotsUnit(nullptr, nullptr).TransToCIntermediateResultUnitPtr());  // in silence
  NxLog::GetInstance().SetLevel(9);
  EXPECT_TRUE(unit.TransToCIntermediateResultUnitPtr());
  EXPECT_FALSE(faceless.TransToCIntermediateResultUnitPtr());

  std::ostringstream want;
  want << std::hex << "NxUnitBase this Ptr " << LowWord(static_cast<NxUnitBase*>(&unit))
       << "\nNxUnitBase Ptr after cast " << LowWord(face) << "\nNxUnitBase hashId unit\n"
       << "NxUnitBase this Ptr " << LowWord(&faceless) << "\nNxUnitBase Ptr after cast 0\n";
  EXPECT_EQ(log.Messages(), want.str());

  faceless = unit;  // neither assigning nor copying takes the face of another unit
  EXPECT_EQ(faceless.GetCIntermediateResultUnitPtr(), nullptr);
  EXPECT_EQ(SectionResultUnitBase(unit).GetCIntermediateResultUnitPtr(), nullptr);
  faceless.CopySourceInfoFromImage(testing::MakeImage("ab", 2, 1).get());
  faceless.CopyIntermediateResultUnit(&unit);
}

TEST(UnitBase, CopiesIdsAndMatrixFromAnImageOrAnotherUnit) {
  const NxRef<NxImageData> image = testing::MakeImage("ab", 2, 1), bare = new NxImageData;
  image->SetRotationTransformMatrix(kMatrix);
  SpotsUnit unit(nullptr, nullptr), copy(nullptr, nullptr), fresh(nullptr, nullptr);
  unit.CopySourceInfoFromImage(image.get());
  ExpectIdsAndMatrix(unit, nullptr, "BKDR_3105", kMatrix);
  unit.SetHashId("unit");
  copy.CopyIntermediateResultUnit(&unit);
  ExpectIdsAndMatrix(copy, "unit", "BKDR_3105", kMatrix);

  // What has no id leaves the id, and gives its matrix all the same.
  copy.CopySourceInfoFromImage(bare.get());
  ExpectIdsAndMatrix(copy, "unit", "BKDR_3105", kIdentity);
  unit.CopyIntermediateResultUnit(&fresh);
  ExpectIdsAndMatrix(unit, "unit", "BKDR_3105", kIdentity);
  unit.CopySourceInfoFromImage(nullptr);
  unit.CopyIntermediateResultUnit(nullptr);
}

TEST(SectionResultUnit, KeepsTheOrderOfItsElements) {
  const NxRef<NxRegionObject> a = new NxRegionObject, b = new NxRegionObject,
                              c = new NxRegionObject;
  SectionResultUnitBase unit(nullptr, nullptr);
  unit.SetElements({a, a, b});
  unit.AddElement(c);
  unit.SetElement(1, c);
  const SectionResultUnitBase copy(unit);
  for (const int index : {-1, 4}) EXPECT_EQ(unit.RemoveElement(index), -10008);
  EXPECT_EQ(unit.GetElementsVec(), (std::vector<NxRef<NxRegionObject>>{a, c, b, c}));
  EXPECT_EQ(unit.RemoveElement(0), 0);
  EXPECT_EQ(unit.RemoveElement(2), 0);
  EXPECT_EQ(unit.GetElementsVec(), (std::vector<NxRef<NxRegionObject>>{c, b}));
  unit.ClearElements();
  const auto newLooking = [&unit] {  // finds no destroyed region in the list that it leaves
    return new testing::Asking<NxRegionObject>([&unit] {
      for (const auto& each : unit.GetElementsVec()) EXPECT_GT(each->GetReferenceCount(), 0);
    });
  };
  unit.SetElements({newLooking(), newLooking(), newLooking()});
  unit.SetElement(0, a);
  unit.SetElements({b, newLooking(), newLooking()});
  unit.ClearElements();
  unit.SetElements({newLooking(), newLooking(), newLooking()});
  unit = SectionResultUnitBase(nullptr, nullptr);
  EXPECT_EQ(copy.GetElementsVec().size(), 4U);
  EXPECT_EQ(a->GetReferenceCount() + b->GetReferenceCount() + c->GetReferenceCount(), 3 + 4);
}

TEST(IntermediateResult, ShowsTheUnitsWhosePublicFaceWasFound) {
  const NxRef<SpotsUnit> found = new SpotsUnit(nullptr, nullptr),
                         unasked = new SpotsUnit(nullptr, nullptr);
  ASSERT_TRUE(found->TransToCIntermediateResultUnitPtr());
  NxIntermediateResult result;
  for (const NxRef<SpotsUnit>& unit : {found, unasked, NxRef<SpotsUnit>()}) result.AddUnit(unit);
  const NxIntermediateResult copy(result);
  const CIntermediateResult& seen = copy;
  EXPECT_EQ(seen.GetCount(), 3);
  EXPECT_EQ(seen.GetIntermediateResultUnit(0), found.get());
  for (const int index : {-1, 1, 2, 3}) EXPECT_EQ(seen.GetIntermediateResultUnit(index), nullptr);
  testing::RunTogether(4, [&](int) {
    for (int i = 0; i < 200; ++i) unasked->RetainCache()->Release();
  });
  EXPECT_EQ(seen.GetIntermediateResultUnit(1), unasked.get());
  EXPECT_EQ(unasked->GetReferenceCount(), 3);
  NxIntermediateResult left;
  const auto look = [&left] {  // finds no destroyed unit in the list that it leaves
    for (const auto& each : left.GetUnitsVec()) EXPECT_GT(each->GetReferenceCount(), 0);
  };
  for (int i = 0; i < 2; ++i) {
    left.AddUnit(new testing::Asking<SectionResultUnitBase>(look, nullptr, nullptr));
  }
  left = NxIntermediateResult();
}

}  // namespace
}  // namespace velmora
