#include <gtest/gtest.h>

#include <type_traits>
#include <vector>

#include "tests/support/virtual_slots.h"
#include "velmora/results/buffered_item.h"
#include "velmora/results/captured_result_base.h"
#include "velmora/results/captured_result_item.h"
#include "velmora/results/detection_units.h"
#include "velmora/results/image_units.h"
#include "velmora/results/intermediate_result.h"
#include "velmora/results/intermediate_result_receiver.h"
#include "velmora/results/intermediate_result_unit.h"
#include "velmora/results/item_base.h"
#include "velmora/results/observation_parameters.h"
#include "velmora/results/pdf_reading_parameter.h"
#include "velmora/results/region_object_element.h"

namespace velmora {
namespace {

using basic_structures::BufferedItemBase;
using basic_structures::BufferedItemSetBase;
using basic_structures::CCapturedResultBase;
using basic_structures::CCapturedResultItem;
using basic_structures::COriginalImageResultItem;
using basic_structures::NxvItemBase;
using namespace intermediate_results;
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
  EXPECT_EQ(CountVirtualOperations<CColourImageUnit>(), 8);
  EXPECT_EQ(CountVirtualOperations<CScaledColourImageUnit>(), 8);
  EXPECT_EQ(CountVirtualOperations<CGrayscaleImageUnit>(), 8);
  EXPECT_EQ(CountVirtualOperations<CTransformedGrayscaleImageUnit>(), 8);
  EXPECT_EQ(CountVirtualOperations<CEnhancedGrayscaleImageUnit>(), 8);
  EXPECT_EQ(CountVirtualOperations<CBinaryImageUnit>(), 8);
  EXPECT_EQ(CountVirtualOperations<CTextureRemovedGrayscaleImageUnit>(), 8);
  EXPECT_EQ(CountVirtualOperations<CTextureRemovedBinaryImageUnit>(), 8);
  EXPECT_EQ(CountVirtualOperations<CTextRemovedBinaryImageUnit>(), 8);
  EXPECT_EQ(CountVirtualOperations<CContoursUnit>(), 8);
  EXPECT_EQ(CountVirtualOperations<CTextureDetectionResultUnit>(), 10);
  EXPECT_EQ(CountVirtualOperations<CPredetectedRegionsUnit>(), 12);
  EXPECT_EQ(CountVirtualOperations<CTextZonesUnit>(), 12);
  EXPECT_EQ(CountVirtualOperations<CLineSegmentsUnit>(), 12);
  EXPECT_EQ(CountVirtualOperations<CShortLinesUnit>(), 12);
  EXPECT_EQ(CountVirtualOperations<CRegionObjectElement>(), 8);
  EXPECT_EQ(CountVirtualOperations<CPredetectedRegionElement>(), 12);
  EXPECT_EQ(CountVirtualOperations<CAuxiliaryRegionElement>(), 12);
  EXPECT_EQ(CountVirtualOperations<CIntermediateResult>(), 3);
  EXPECT_EQ(CountVirtualOperations<CAbstractIntermediateResultReceiver>(), 5);
  EXPECT_EQ(CountVirtualOperations<CObservationParameters>(), 10);
  EXPECT_EQ(CountVirtualOperations<CObservationParametersImp>(), 10);
}

// What is in slots 1, 2, 3...
template <typename... Members>
std::vector<int> Slots(Members... members) {
  return {SlotOf(members)...};
}

TEST(Interfaces, KeepTheOrderOfResultOperations) {
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
  const std::vector image{6, 7};
  EXPECT_EQ(Slots(&CColourImageUnit::GetImageData, &CColourImageUnit::SetImageData), image);
  EXPECT_EQ(Slots(&CScaledColourImageUnit::GetImageData, &CScaledColourImageUnit::SetImageData),
            image);
  EXPECT_EQ(Slots(&CGrayscaleImageUnit::GetImageData, &CGrayscaleImageUnit::SetImageData), image);
  EXPECT_EQ(Slots(&CTransformedGrayscaleImageUnit::GetImageData,
                  &CTransformedGrayscaleImageUnit::SetImageData),
            image);
  EXPECT_EQ(
      Slots(&CEnhancedGrayscaleImageUnit::GetImageData, &CEnhancedGrayscaleImageUnit::SetImageData),
      image);
  EXPECT_EQ(Slots(&CBinaryImageUnit::GetImageData, &CBinaryImageUnit::SetImageData), image);
  EXPECT_EQ(Slots(&CTextureRemovedGrayscaleImageUnit::GetImageData,
                  &CTextureRemovedGrayscaleImageUnit::SetImageData),
            image);
  EXPECT_EQ(Slots(&CTextureRemovedBinaryImageUnit::GetImageData,
                  &CTextureRemovedBinaryImageUnit::SetImageData),
            image);
  EXPECT_EQ(
      Slots(&CTextRemovedBinaryImageUnit::GetImageData, &CTextRemovedBinaryImageUnit::SetImageData),
      image);
  EXPECT_EQ(Slots(&CContoursUnit::GetContours, &CContoursUnit::SetContours), image);
  EXPECT_EQ(
      Slots(&CTextureDetectionResultUnit::GetSpacingX, &CTextureDetectionResultUnit::SetSpacingX,
            &CTextureDetectionResultUnit::GetSpacingY, &CTextureDetectionResultUnit::SetSpacingY),
      (std::vector{6, 7, 8, 9}));
  const std::vector list{6, 7, 8, 9, 10, 11};
  EXPECT_EQ(
      Slots(&CPredetectedRegionsUnit::GetCount, &CPredetectedRegionsUnit::GetPredetectedRegion,
            &CPredetectedRegionsUnit::AddPredetectedRegion,
            &CPredetectedRegionsUnit::SetPredetectedRegion,
            &CPredetectedRegionsUnit::RemovePredetectedRegion,
            &CPredetectedRegionsUnit::RemoveAllPredetectedRegions),
      list);
  EXPECT_EQ(Slots(&CTextZonesUnit::GetCount, &CTextZonesUnit::GetTextZone,
                  &CTextZonesUnit::AddTextZone, &CTextZonesUnit::SetTextZone,
                  &CTextZonesUnit::RemoveTextZone, &CTextZonesUnit::RemoveAllTextZones),
            list);
  EXPECT_EQ(Slots(&CLineSegmentsUnit::GetCount, &CLineSegmentsUnit::GetLineSegment,
                  &CLineSegmentsUnit::AddLineSegment, &CLineSegmentsUnit::SetLineSegment,
                  &CLineSegmentsUnit::RemoveLineSegment, &CLineSegmentsUnit::RemoveAllLineSegments),
            list);
  EXPECT_EQ(Slots(&CShortLinesUnit::GetCount, &CShortLinesUnit::GetShortLine,
                  &CShortLinesUnit::AddShortLine, &CShortLinesUnit::SetShortLine,
                  &CShortLinesUnit::RemoveShortLine, &CShortLinesUnit::RemoveAllShortLines),
            list);
}

TEST(Interfaces, KeepTheOrderOfRegionAndObserverOperations) {
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
  using Receiver = CAbstractIntermediateResultReceiver;
  EXPECT_EQ(Slots(&Receiver::OnTargetROIResultsReceived, &Receiver::OnTaskResultsReceived,
                  &Receiver::OnSectionResultsReceived, &Receiver::OnUnitResultReceived,
                  &Receiver::GetObservationParameters),
            (std::vector{1, 2, 3, 4, -1}));
  using Parameters = CObservationParametersImp;
  EXPECT_EQ(Slots(&Parameters::SetObservedResultUnitTypes, &Parameters::GetObservedResultUnitTypes,
                  &Parameters::IsResultUnitTypeObserved, &Parameters::AddObservedTask,
                  &Parameters::RemoveObservedTask, &Parameters::IsTaskObserved,
                  &Parameters::SetResultUnitTypesOnlyForInput,
                  &Parameters::GetResultUnitTypesOnlyForInput,
                  &Parameters::IsResultUnitTypeOnlyForInput, &Parameters::SetFunctionMark),
            (std::vector{1, 2, 3, 4, 5, 6, 7, 8, 9, -1}));
}

// Results and items are shared: nobody but their own release may destroy them.
static_assert(!std::is_destructible_v<CCapturedResultItem>);
static_assert(!std::is_destructible_v<COriginalImageResultItem>);
static_assert(!std::is_destructible_v<CCapturedResultBase>);

// What a PDF reader that was told nothing goes by.
constexpr basic_structures::CPDFReadingParameter kPdfDefaults;
static_assert(kPdfDefaults.mode == 3 && kPdfDefaults.resolution == 300 &&
              kPdfDefaults.sourceKind == 0);
static_assert(std::is_trivially_copyable_v<basic_structures::CPDFReadingParameter>);

}  // namespace
}  // namespace velmora
