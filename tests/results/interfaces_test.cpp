#include <gtest/gtest.h>

#include <type_traits>
#include <vector>

#include "tests/support/virtual_slots.h"
#include "velmora/results/buffered_item.h"
#include "velmora/results/captured_result_base.h"
#include "velmora/results/captured_result_item.h"
#include "velmora/results/intermediate_result.h"
#include "velmora/results/intermediate_result_unit.h"
#include "velmora/results/item_base.h"
#include "velmora/results/region_object_element.h"

namespace velmora {
namespace {

using basic_structures::BufferedItemBase;
using basic_structures::BufferedItemSetBase;
using basic_structures::CCapturedResultBase;
using basic_structures::CCapturedResultItem;
using basic_structures::COriginalImageResultItem;
using basic_structures::NxvItemBase;
using intermediate_results::CAuxiliaryRegionElement;
using intermediate_results::CIntermediateResult;
using intermediate_results::CIntermediateResultUnit;
using intermediate_results::CPredetectedRegionElement;
using intermediate_results::CRegionObjectElement;
using testing::CountVirtualOperations;
using testing::SlotOf;

// Modules are compiled against these tables: one operation more, less or in another place breaks
// every module that exists.
TEST(Interfaces, HaveTheirNumberOfVirtualOperations) {
  EXPECT_EQ(CountVirtualOperations<CCapturedResultItem>(), 8);
  EXPECT_EQ(CountVirtualOperations<COriginalImageResultItem>(), 9);
  EXPECT_EQ(CountVirtualOperations<CCapturedResultBase>(), 6);
  EXPECT_EQ(CountVirtualOperations<NxvItemBase>(), 2);
  EXPECT_EQ(CountVirtualOperations<BufferedItemBase>(), 2);
  EXPECT_EQ(CountVirtualOperations<BufferedItemSetBase>(), 2);
  EXPECT_EQ(CountVirtualOperations<CIntermediateResultUnit>(), 6);
  EXPECT_EQ(CountVirtualOperations<CRegionObjectElement>(), 8);
  EXPECT_EQ(CountVirtualOperations<CPredetectedRegionElement>(), 12);
  EXPECT_EQ(CountVirtualOperations<CAuxiliaryRegionElement>(), 12);
  EXPECT_EQ(CountVirtualOperations<CIntermediateResult>(), 3);
}

// What is in slots 1, 2, 3...
template <typename... Members>
std::vector<int> Slots(Members... members) {
  return {SlotOf(members)...};
}

TEST(Interfaces, KeepTheOrderOfTheirOperations) {
  EXPECT_EQ(Slots(&CCapturedResultItem::GetType, &CCapturedResultItem::GetReferenceItem,
                  &CCapturedResultItem::GetTargetROIDefName, &CCapturedResultItem::GetTaskName,
                  &CCapturedResultItem::Clone, &CCapturedResultItem::Retain,
                  &CCapturedResultItem::Release, &COriginalImageResultItem::GetImageData),
            (std::vector{1, 2, 3, 4, 5, 6, 7, 8}));
  EXPECT_EQ(
      Slots(&CCapturedResultBase::GetSourceImageHashId, &CCapturedResultBase::GetSourceImageTag,
            &CCapturedResultBase::GetSourceImageRotationMatrix, &CCapturedResultBase::GetErrorCode,
            &CCapturedResultBase::GetErrorString),
      (std::vector{1, 2, 3, 4, 5}));
  EXPECT_EQ(Slots(&NxvItemBase::GetType, &NxvItemBase::SetUpload,
                  &BufferedItemBase::GetBufferedItemType, &BufferedItemSetBase::CopyFromManager),
            (std::vector{1, -1, 1, 1}));
  EXPECT_EQ(Slots(&CIntermediateResultUnit::GetUnitType, &CIntermediateResultUnit::Clone,
                  &CIntermediateResultUnit::Replace, &CIntermediateResultUnit::Retain,
                  &CIntermediateResultUnit::Release),
            (std::vector{1, 2, 3, 4, 5}));
  EXPECT_EQ(Slots(&CRegionObjectElement::GetElementType, &CRegionObjectElement::GetLocation,
                  &CRegionObjectElement::SetLocation, &CRegionObjectElement::GetReferencedElement,
                  &CRegionObjectElement::Clone, &CRegionObjectElement::Retain,
                  &CRegionObjectElement::Release),
            (std::vector{1, 2, 3, 4, 5, 6, 7}));
  EXPECT_EQ(
      Slots(&CPredetectedRegionElement::GetModeName, &CPredetectedRegionElement::SetModeName,
            &CPredetectedRegionElement::GetConfidence, &CPredetectedRegionElement::SetConfidence),
      (std::vector{8, 9, 10, 11}));
  EXPECT_EQ(Slots(&CAuxiliaryRegionElement::GetName, &CAuxiliaryRegionElement::SetName,
                  &CAuxiliaryRegionElement::GetConfidence, &CAuxiliaryRegionElement::SetConfidence),
            (std::vector{8, 9, 10, 11}));
  EXPECT_EQ(Slots(&CIntermediateResult::GetCount, &CIntermediateResult::GetIntermediateResultUnit),
            (std::vector{1, 2}));
}

// Results and items are shared: nobody but their own release may destroy them.
static_assert(!std::is_destructible_v<CCapturedResultItem>);
static_assert(!std::is_destructible_v<COriginalImageResultItem>);
static_assert(!std::is_destructible_v<CCapturedResultBase>);

}  // namespace
}  // namespace velmora
