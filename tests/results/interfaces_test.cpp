#include <gtest/gtest.h>

#include <type_traits>

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
#include "velmora/results/result_imp_base.h"

namespace velmora {
namespace {

using namespace basic_structures;
using namespace intermediate_results;
using testing::CountVirtualOperations;
using testing::SlotOf;

// Modules are compiled against these tables: one operation more, less or in another place breaks
// every module that exists.

// What is in slots first, first + 1, first + 2...; the last one ends the table.
template <typename Class, typename... Members>
void ExpectTable(const char* name, int first, Members... members) {
  SCOPED_TRACE(name);
  int want = first;
  for (const int slot : {SlotOf(members)...}) EXPECT_EQ(slot, want++);
  EXPECT_EQ(CountVirtualOperations<Class>(), want);
}

TEST(Interfaces, ResultsKeepTheirTables) {
  using Item = CCapturedResultItem;
  ExpectTable<Item>("item", 1, &Item::GetType, &Item::GetReferenceItem, &Item::GetTargetROIDefName,
                    &Item::GetTaskName, &Item::Clone, &Item::Retain, &Item::Release);
  ExpectTable<COriginalImageResultItem>("image item", 8, &COriginalImageResultItem::GetImageData);
  using Result = CCapturedResultBase;
  ExpectTable<Result>("result", 1, &Result::GetSourceImageHashId, &Result::GetSourceImageTag,
                      &Result::GetSourceImageRotationMatrix, &Result::GetErrorCode,
                      &Result::GetErrorString);
  ExpectTable<NxvItemBase>("item base", 1, &NxvItemBase::GetType);
  ExpectTable<ResultImpBase>("result base", 1, &ResultImpBase::AddResultItems,
                             &ResultImpBase::ClearAllItems);
  ExpectTable<BufferedItemBase>("buffered item", 1, &BufferedItemBase::GetBufferedItemType);
  ExpectTable<BufferedItemSetBase>("item set", 1, &BufferedItemSetBase::CopyFromManager);
}

template <typename Unit>
void ExpectImageUnit(const char* name) {
  ExpectTable<Unit>(name, 6, &Unit::GetImageData, &Unit::SetImageData);
}

TEST(Interfaces, UnitsKeepTheirTables) {
  using Unit = CIntermediateResultUnit;
  ExpectTable<Unit>("unit", 1, &Unit::GetUnitType, &Unit::Clone, &Unit::Replace, &Unit::Retain,
                    &Unit::Release);
  ExpectImageUnit<CColourImageUnit>("colour");
  ExpectImageUnit<CScaledColourImageUnit>("scaled colour");
  ExpectImageUnit<CGrayscaleImageUnit>("grayscale");
  ExpectImageUnit<CTransformedGrayscaleImageUnit>("transformed grayscale");
  ExpectImageUnit<CEnhancedGrayscaleImageUnit>("enhanced grayscale");
  ExpectImageUnit<CBinaryImageUnit>("binary");
  ExpectImageUnit<CTextureRemovedGrayscaleImageUnit>("texture-removed grayscale");
  ExpectImageUnit<CTextureRemovedBinaryImageUnit>("texture-removed binary");
  ExpectImageUnit<CTextRemovedBinaryImageUnit>("text-removed binary");
  ExpectTable<CContoursUnit>("contours", 6, &CContoursUnit::GetContours,
                             &CContoursUnit::SetContours);
  using Texture = CTextureDetectionResultUnit;
  ExpectTable<Texture>("texture", 6, &Texture::GetSpacingX, &Texture::SetSpacingX,
                       &Texture::GetSpacingY, &Texture::SetSpacingY);
  using Regions = CPredetectedRegionsUnit;
  ExpectTable<Regions>("regions", 6, &Regions::GetCount, &Regions::GetPredetectedRegion,
                       &Regions::AddPredetectedRegion, &Regions::SetPredetectedRegion,
                       &Regions::RemovePredetectedRegion, &Regions::RemoveAllPredetectedRegions);
  using Zones = CTextZonesUnit;
  ExpectTable<Zones>("text zones", 6, &Zones::GetCount, &Zones::GetTextZone, &Zones::AddTextZone,
                     &Zones::SetTextZone, &Zones::RemoveTextZone, &Zones::RemoveAllTextZones);
  using Lines = CLineSegmentsUnit;
  ExpectTable<Lines>("lines", 6, &Lines::GetCount, &Lines::GetLineSegment, &Lines::AddLineSegment,
                     &Lines::SetLineSegment, &Lines::RemoveLineSegment,
                     &Lines::RemoveAllLineSegments);
  using Shorts = CShortLinesUnit;
  ExpectTable<Shorts>("short lines", 6, &Shorts::GetCount, &Shorts::GetShortLine,
                      &Shorts::AddShortLine, &Shorts::SetShortLine, &Shorts::RemoveShortLine,
                      &Shorts::RemoveAllShortLines);
}

TEST(Interfaces, RegionsAndObserversKeepTheirTables) {
  using Element = CRegionObjectElement;
  ExpectTable<Element>("element", 1, &Element::GetElementType, &Element::GetLocation,
                       &Element::SetLocation, &Element::GetReferencedElement, &Element::Clone,
                       &Element::Retain, &Element::Release);
  using Predetected = CPredetectedRegionElement;
  ExpectTable<Predetected>("predetected", 8, &Predetected::GetModeName, &Predetected::SetModeName,
                           &Predetected::GetConfidence, &Predetected::SetConfidence);
  using Auxiliary = CAuxiliaryRegionElement;
  ExpectTable<Auxiliary>("auxiliary", 8, &Auxiliary::GetName, &Auxiliary::SetName,
                         &Auxiliary::GetConfidence, &Auxiliary::SetConfidence);
  ExpectTable<CIntermediateResult>("intermediate result", 1, &CIntermediateResult::GetCount,
                                   &CIntermediateResult::GetIntermediateResultUnit);
  using Receiver = CAbstractIntermediateResultReceiver;
  ExpectTable<Receiver>("receiver", 1, &Receiver::OnTargetROIResultsReceived,
                        &Receiver::OnTaskResultsReceived, &Receiver::OnSectionResultsReceived,
                        &Receiver::OnUnitResultReceived);
  using Parameters = CObservationParametersImp;
  ExpectTable<Parameters>(
      "parameters", 1, &Parameters::SetObservedResultUnitTypes,
      &Parameters::GetObservedResultUnitTypes, &Parameters::IsResultUnitTypeObserved,
      &Parameters::AddObservedTask, &Parameters::RemoveObservedTask, &Parameters::IsTaskObserved,
      &Parameters::SetResultUnitTypesOnlyForInput, &Parameters::GetResultUnitTypesOnlyForInput,
      &Parameters::IsResultUnitTypeOnlyForInput);
  EXPECT_EQ(CountVirtualOperations<CObservationParameters>(), 10);
}

// Results and items are shared: nobody but their own release may destroy them.
static_assert(!std::is_destructible_v<CCapturedResultItem>);
static_assert(!std::is_destructible_v<COriginalImageResultItem>);
static_assert(!std::is_destructible_v<CCapturedResultBase>);

// What a PDF reader that was told nothing goes by.
constexpr CPDFReadingParameter kPdfDefaults;
static_assert(kPdfDefaults.mode == 3 && kPdfDefaults.resolution == 300 &&
              kPdfDefaults.sourceKind == 0);
static_assert(std::is_trivially_copyable_v<CPDFReadingParameter>);

}  // namespace
}  // namespace velmora
