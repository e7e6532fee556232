#include "velmora/region/nx_intermediate_result.h"

#include <gtest/gtest.h>

#include "tests/region/kit.h"

namespace velmora {
namespace {

using testing::FoundRegionsUnit;

TEST(IntermediateResult, ShowsTheUnitsWhosePublicFaceWasFound) {
  const NxRef<FoundRegionsUnit> found = new FoundRegionsUnit(nullptr, nullptr);
  const NxRef<FoundRegionsUnit> unasked = new FoundRegionsUnit(nullptr, nullptr);
  ASSERT_TRUE(found->TransToCIntermediateResultUnitPtr());
  NxIntermediateResult result;
  result.AddUnit(found);
  result.AddUnit(unasked);
  const intermediate_results::CIntermediateResult& seen = result;
  EXPECT_EQ(seen.GetCount(), 2);
  EXPECT_EQ(seen.GetIntermediateResultUnit(0), found.get());
  for (const int index : {-1, 1, 2}) EXPECT_EQ(seen.GetIntermediateResultUnit(index), nullptr);
  unasked->RetainCache()->Release();
  EXPECT_EQ(seen.GetIntermediateResultUnit(1), unasked.get());
}

TEST(IntermediateResult, SharesItsUnitsWithCopies) {
  const NxRef<FoundRegionsUnit> unit = new FoundRegionsUnit(nullptr, nullptr);
  {
    NxIntermediateResult result;
    result.AddUnit(unit);
    const NxIntermediateResult copy(result);
    NxIntermediateResult assigned;
    assigned.AddUnit(unit);
    assigned.AddUnit(unit);
    assigned = copy;
    EXPECT_EQ(assigned.GetUnitsVec(), copy.GetUnitsVec());
    EXPECT_EQ(unit->GetReferenceCount(), 4);
  }
  EXPECT_EQ(unit->GetReferenceCount(), 1);
}

}  // namespace
}  // namespace velmora
