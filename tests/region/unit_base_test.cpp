#include "velmora/region/unit_base.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

#include "tests/region/kit.h"
#include "tests/support/barrier.h"

namespace velmora {
namespace {

using intermediate_results::CIntermediateResultUnit;
using testing::FoundRegionsUnit;
using testing::RunTogether;

constexpr double kMatrix[9] = {2, 0, 5, 0, 2, 7, 0, 0, 1};

void ExpectMatrix(const CIntermediateResultUnit& unit, const double* expected) {
  double matrix[9];
  unit.GetTransformMatrix(intermediate_results::TMT_OriginalToLocal, matrix);
  for (int i = 0; i < 9; ++i) EXPECT_EQ(matrix[i], expected[i]) << i;
}

std::vector<NxRegionObject*> Pointers(const SectionResultUnitBase& unit) {
  std::vector<NxRegionObject*> pointers;
  for (const NxRef<NxRegionObject>& element : unit.GetElementsVec())
    pointers.push_back(element.get());
  return pointers;
}

TEST(UnitBase, FindsItsPublicFaceAcrossTheObject) {
  FoundRegionsUnit unit(nullptr, nullptr);
  EXPECT_EQ(unit.GetCIntermediateResultUnitPtr(), nullptr);
  EXPECT_TRUE(unit.TransToCIntermediateResultUnitPtr());
  EXPECT_EQ(unit.GetCIntermediateResultUnitPtr(), static_cast<CIntermediateResultUnit*>(&unit));

  SectionResultUnitBase faceless(nullptr, nullptr);
  EXPECT_FALSE(faceless.TransToCIntermediateResultUnitPtr());
  faceless = unit;  // neither copying nor assigning takes the face of another unit
  EXPECT_EQ(faceless.GetCIntermediateResultUnitPtr(), nullptr);
  EXPECT_EQ(SectionResultUnitBase(unit).GetCIntermediateResultUnitPtr(), nullptr);
  const NxRef<NxImageData> image = testing::MakeImage("ab", 2, 1);
  faceless.CopySourceInfoFromImage(image.get());
  faceless.CopyIntermediateResultUnit(&unit);
}

TEST(UnitBase, LogsTheSearchForItsPublicFace) {
  FoundRegionsUnit unit(nullptr, nullptr);
  unit.SetHashId("unit");
  SectionResultUnitBase faceless(nullptr, nullptr);
  const testing::ScopedLog log(LM_Text, 9);
  unit.TransToCIntermediateResultUnitPtr();
  faceless.TransToCIntermediateResultUnitPtr();
  const auto line = [](const char* format, const void* pointer) {
    char text[64];
    std::snprintf(text, sizeof(text), format,
                  static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(pointer)));
    return std::string(text);
  };
  std::string messages;
  std::istringstream text(log.Text());
  for (std::string logged; std::getline(text, logged);)
    messages += logged.substr(logged.rfind(']') + 1) + '\n';
  EXPECT_EQ(messages, line("NxUnitBase this Ptr %x\n", static_cast<NxUnitBase*>(&unit)) +
                          line("NxUnitBase Ptr after cast %x\n",
                               static_cast<CIntermediateResultUnit*>(&unit)) +
                          "NxUnitBase hashId unit\n" + line("NxUnitBase this Ptr %x\n", &faceless) +
                          "NxUnitBase Ptr after cast 0\n");
}

TEST(UnitBase, IsRetainedThroughItsPublicFace) {
  const NxRef<FoundRegionsUnit> unit = new FoundRegionsUnit(nullptr, nullptr);
  RunTogether(4, [&](int) {
    for (int i = 0; i < 200; ++i) {
      CIntermediateResultUnit* const face = unit->RetainCache();
      EXPECT_EQ(face, unit.get());
      face->Release();
    }
  });
  EXPECT_EQ(unit->GetReferenceCount(), 1);
  const CIntermediateResultUnit* const clone = unit->Clone();
  EXPECT_NE(dynamic_cast<const FoundRegionsUnit*>(clone), nullptr);
  EXPECT_NE(clone, unit.get());
  clone->Release();
}

TEST(UnitBase, CopiesIdsAndMatrixFromAnImageOrAnotherUnit) {
  const NxRef<NxImageData> image = testing::MakeImage("ab", 2, 1);
  image->SetRotationTransformMatrix(kMatrix);
  FoundRegionsUnit unit(nullptr, nullptr);
  unit.CopySourceInfoFromImage(image.get());
  EXPECT_STREQ(unit.GetOriginalImageHashId(), "BKDR_3105");
  EXPECT_EQ(unit.GetHashId(), nullptr);
  ExpectMatrix(unit, kMatrix);

  unit.SetHashId("unit");
  FoundRegionsUnit copy(nullptr, nullptr);
  copy.CopyIntermediateResultUnit(&unit);
  EXPECT_STREQ(copy.GetHashId(), "unit");
  EXPECT_STREQ(copy.GetOriginalImageHashId(), "BKDR_3105");
  ExpectMatrix(copy, kMatrix);

  // What has no id leaves the id, and gives its matrix all the same.
  const NxRef<NxImageData> bare = new NxImageData;
  copy.CopySourceInfoFromImage(bare.get());
  EXPECT_STREQ(copy.GetOriginalImageHashId(), "BKDR_3105");
  double identity[9];
  NxRegionObject::GetIdentityMatrix(identity);
  ExpectMatrix(copy, identity);
  const FoundRegionsUnit fresh(nullptr, nullptr);
  unit.CopyIntermediateResultUnit(&fresh);
  EXPECT_STREQ(unit.GetHashId(), "unit");
  ExpectMatrix(unit, identity);
  unit.CopySourceInfoFromImage(nullptr);
  unit.CopyIntermediateResultUnit(nullptr);
}

TEST(SectionResultUnit, KeepsTheOrderOfItsElements) {
  const NxRef<NxRegionObject> a = new NxRegionObject;
  const NxRef<NxRegionObject> b = new NxRegionObject;
  const NxRef<NxRegionObject> c = new NxRegionObject;
  const NxRef<NxRegionImageInfo> info = new NxRegionImageInfo(nullptr, nullptr);
  const NxRef<NxSourceImageObject> source = new NxSourceImageObject(nullptr, 1, 10);
  FoundRegionsUnit unit(source.get(), info.get());
  unit.SetElements({a, a, b});
  unit.AddElement(c);
  unit.SetElement(1, c);
  FoundRegionsUnit copy(unit);
  EXPECT_EQ(copy.GetSectionImageInfo(), info.get());
  EXPECT_EQ(copy.GetSourceImageObject(), source);

  EXPECT_EQ(unit.RemoveElement(-1), -10008);
  EXPECT_EQ(unit.RemoveElement(4), -10008);
  EXPECT_EQ(Pointers(unit), (std::vector<NxRegionObject*>{a.get(), c.get(), b.get(), c.get()}));
  EXPECT_EQ(unit.RemoveElement(0), 0);
  EXPECT_EQ(unit.RemoveElement(2), 0);
  EXPECT_EQ(Pointers(unit), (std::vector<NxRegionObject*>{c.get(), b.get()}));
  EXPECT_EQ(copy.GetElementsVec().size(), 4U);
  unit.ClearElements();
  copy.ClearElements();
  EXPECT_EQ(unit.RemoveElement(0), -10008);
  EXPECT_EQ(a->GetReferenceCount() + b->GetReferenceCount() + c->GetReferenceCount(), 3);
}

}  // namespace
}  // namespace velmora
