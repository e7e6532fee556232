#include <gtest/gtest.h>

#include <type_traits>
#include <typeinfo>

#include "tests/support/virtual_slots.h"
#include "velmora/velmora.h"

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
void ExpectTable(int first, Members... members) {
  SCOPED_TRACE(typeid(Class).name());
  int want = first;
  for (const int slot : {SlotOf(members)...}) EXPECT_EQ(slot, want++);
  EXPECT_EQ(CountVirtualOperations<Class>(), want);
}

TEST(Interfaces, ResultsKeepTheirTables) {
  using Item = CCapturedResultItem;
  ExpectTable<Item>(1, &Item::GetType, &Item::GetReferenceItem, &Item::GetTargetROIDefName,
                    &Item::GetTaskName, &Item::Clone, &Item::Retain, &Item::Release);
  ExpectTable<COriginalImageResultItem>(8, &COriginalImageResultItem::GetImageData);
  using Result = CCapturedResultBase;
  ExpectTable<Result>(1, &Result::GetSourceImageHashId, &Result::GetSourceImageTag,
                      &Result::GetSourceImageRotationMatrix, &Result::GetErrorCode,
                      &Result::GetErrorString);
  ExpectTable<NxvItemBase>(1, &NxvItemBase::GetType);
  ExpectTable<ResultImpBase>(1, &ResultImpBase::AddResultItems, &ResultImpBase::ClearAllItems);
  ExpectTable<BufferedItemBase>(1, &BufferedItemBase::GetBufferedItemType);
  ExpectTable<BufferedItemSetBase>(1, &BufferedItemSetBase::CopyFromManager);
}

template <typename... Units>
void ExpectImageUnits() {
  (ExpectTable<Units>(6, &Units::GetImageData, &Units::SetImageData), ...);
}

TEST(Interfaces, UnitsKeepTheirTables) {
  using Unit = CIntermediateResultUnit;
  ExpectTable<Unit>(1, &Unit::GetUnitType, &Unit::Clone, &Unit::Replace, &Unit::Retain,
                    &Unit::Release);
  ExpectImageUnits<CColourImageUnit, CScaledColourImageUnit, CGrayscaleImageUnit,
                   CTransformedGrayscaleImageUnit, CEnhancedGrayscaleImageUnit, CBinaryImageUnit,
                   CTextureRemovedGrayscaleImageUnit, CTextureRemovedBinaryImageUnit,
                   CTextRemovedBinaryImageUnit>();
  ExpectTable<CContoursUnit>(6, &CContoursUnit::GetContours, &CContoursUnit::SetContours);
  using Texture = CTextureDetectionResultUnit;
  ExpectTable<Texture>(6, &Texture::GetSpacingX, &Texture::SetSpacingX, &Texture::GetSpacingY,
                       &Texture::SetSpacingY);
  using Regions = CPredetectedRegionsUnit;
  ExpectTable<Regions>(6, &Regions::GetCount, &Regions::GetPredetectedRegion,
                       &Regions::AddPredetectedRegion, &Regions::SetPredetectedRegion,
                       &Regions::RemovePredetectedRegion, &Regions::RemoveAllPredetectedRegions);
  using Zones = CTextZonesUnit;
  ExpectTable<Zones>(6, &Zones::GetCount, &Zones::GetTextZone, &Zones::AddTextZone,
                     &Zones::SetTextZone, &Zones::RemoveTextZone, &Zones::RemoveAllTextZones);
  using Lines = CLineSegmentsUnit;
  ExpectTable<Lines>(6, &Lines::GetCount, &Lines::GetLineSegment, &Lines::AddLineSegment,
                     &Lines::SetLineSegment, &Lines::RemoveLineSegment,
                     &Lines::RemoveAllLineSegments);
  using Shorts = CShortLinesUnit;
  ExpectTable<Shorts>(6, &Shorts::GetCount, &Shorts::GetShortLine, &Shorts::AddShortLine,
                      &Shorts::SetShortLine, &Shorts::RemoveShortLine,
                      &Shorts::RemoveAllShortLines);
}

TEST(Interfaces, RegionsAndObserversKeepTheirTables) {
  using Element = CRegionObjectElement;
  ExpectTable<Element>(1, &Element::GetElementType, &Element::GetLocation, &Element::SetLocation,
                       &Element::GetReferencedElement, &Element::Clone, &Element::Retain,
                       &Element::Release);
  using Predetected = CPredetectedRegionElement;
  ExpectTable<Predetected>(8, &Predetected::GetModeName, &Predetected::SetModeName,
                           &Predetected::GetConfidence, &Predetected::SetConfidence);
  using Auxiliary = CAuxiliaryRegionElement;
  ExpectTable<Auxiliary>(8, &Auxiliary::GetName, &Auxiliary::SetName, &Auxiliary::GetConfidence,
                         &Auxiliary::SetConfidence);
  ExpectTable<CIntermediateResult>(1, &CIntermediateResult::GetCount,
                                   &CIntermediateResult::GetIntermediateResultUnit);
  using Receiver = CAbstractIntermediateResultReceiver;
  ExpectTable<Receiver>(1, &Receiver::OnTargetROIResultsReceived, &Receiver::OnTaskResultsReceived,
                        &Receiver::OnSectionResultsReceived, &Receiver::OnUnitResultReceived);
  using Parameters = CObservationParametersImp;
  ExpectTable<Parameters>(
      1, &Parameters::SetObservedResultUnitTypes, &Parameters::GetObservedResultUnitTypes,
      &Parameters::IsResultUnitTypeObserved, &Parameters::AddObservedTask,
      &Parameters::RemoveObservedTask, &Parameters::IsTaskObserved,
      &Parameters::SetResultUnitTypesOnlyForInput, &Parameters::GetResultUnitTypesOnlyForInput,
      &Parameters::IsResultUnitTypeOnlyForInput);
  EXPECT_EQ(CountVirtualOperations<CObservationParameters>(), 10);
}

// Results and items are shared: nobody but their own release may destroy them.
static_assert(!std::is_destructible_v<CCapturedResultItem>);
static_assert(!std::is_destructible_v<COriginalImageResultItem>);
static_assert(!std::is_destructible_v<CCapturedResultBase>);

}  // namespace
}  // namespace velmora
