// Modules are compiled against the virtual tables: one operation more, less or in another place
// breaks every module that exists.
#include <typeinfo>

#include "tests/support/test.h"

namespace velmora {
namespace {

using namespace basic_structures;
using namespace intermediate_results;

// The pointers to members of the C++ ABI that both targets share: a virtual one holds 1 + its
// offset in the virtual table, where the destructor takes two places. Slots are counted for a class
// whose destructor is declared first (slot 0); negative for what is not virtual.
template <typename MemberPointer>
int SlotOf(MemberPointer member) {
  std::intptr_t offset = 0;
  static_assert(sizeof(member) == 2 * sizeof(offset));
  std::memcpy(&offset, &member, sizeof(offset));
  return offset % 2 == 0 ? -2 : static_cast<int>((offset - 1) / std::intptr_t{sizeof(void*)}) - 1;
}

// How many virtual operations a class has, its destructor and those of its first base included:
// the slot that one more would get.
template <typename Class>
int CountVirtualOperations() {
  struct Probe : Class {
    virtual void OneMore() = 0;

   protected:
    ~Probe() = default;
  };
  return SlotOf(&Probe::OneMore);
}

// What is in slots first, first + 1, first + 2...; the last one ends the table. The first is 1
// after a destructor and -1 without one.
template <typename Class, typename... Members>
void ExpectTable(int first, Members... members) {
  SCOPED_TRACE(typeid(Class).name());
  int want = first;
  for (const int slot : {SlotOf(members)..., CountVirtualOperations<Class>()}) {
    EXPECT_EQ(slot, want++);
  }
}

template <typename... Classes>
void ExpectOnlyDestructors() {
  (ExpectTable<Classes>(1), ...);
}

// OF(Class, A, B...) is &Class::A, &Class::B...
#define OF1(C, a) &C::a
#define OF2(C, a, ...) &C::a, OF1(C, __VA_ARGS__)
#define OF3(C, a, ...) &C::a, OF2(C, __VA_ARGS__)
#define OF4(C, a, ...) &C::a, OF3(C, __VA_ARGS__)
#define OF5(C, a, ...) &C::a, OF4(C, __VA_ARGS__)
#define OF6(C, a, ...) &C::a, OF5(C, __VA_ARGS__)
#define OF7(C, a, ...) &C::a, OF6(C, __VA_ARGS__)
#define OF8(C, a, ...) &C::a, OF7(C, __VA_ARGS__)
#define OF9(C, a, ...) &C::a, OF8(C, __VA_ARGS__)
#define NINTH(a, b, c, d, e, f, g, h, i, N, ...) N
#define OF(C, ...) NINTH(__VA_ARGS__, OF9, OF8, OF7, OF6, OF5, OF4, OF3, OF2, OF1, )(C, __VA_ARGS__)
#define EXPECT_TABLE(C, first, ...) ExpectTable<C>(first, OF(C, __VA_ARGS__))

TEST(Interfaces, FoundationAndImagesKeepTheirTables) {
  EXPECT_TABLE(CImageSourceAdapter, 1, HasMoreImages, StartFetching, StopFetching, GetImage);
  EXPECT_TABLE(CImageTag, 1, GetType, Clone);
  EXPECT_TABLE(CImageSourceErrorListener, -1, OnImageSourceError);
  EXPECT_TABLE(ThreadPoolBase, -1, AppendWorkItem, GetThreadCount, Stop);
  ExpectOnlyDestructors<NxObjectBase, NxSingleThreadObjectBase, NxModuleLoaderBaseAuto, CImageData,
                        NxImageData, NxImageDataInner, CImageDataWrapper, TextBlock>();
}

// The steps and hooks that are not public are reached by deriving, as modules do.
struct OpenBase64 : CBase64 {
  static void ExpectTables() {
    EXPECT_TABLE(OpenBase64, 11, SetDecodeBuffer, _EncodeToBuffer, _DecodeToBuffer, _EncodeRaw,
                 _DecodeRaw, _IsBadMimeChar);
  }
};
struct OpenQuad : Nx_Quad {
  static void ExpectTables() {
    EXPECT_TABLE(OpenQuad, 1, GetArea, IsPointInQuadrilateral, Init, toString,
                 CalcIntersectionsOfEdges);
  }
};
struct OpenSegment : Nx_LineSegmentEnhanced {
  static void ExpectTables() {
    EXPECT_EQ(SlotOf(&OpenSegment::Init), -1) << "before the destructor: the table begins with it";
    ExpectTable<CLineSegment>(2);
    EXPECT_TABLE(OpenSegment, 2, SwapVertices);
  }
};

TEST(Interfaces, UtilAndGeometryKeepTheirTables) {
  EXPECT_EQ(SlotOf<unsigned long (CBase64::*)(const char*)>(&CBase64::Encode), 1);
  EXPECT_EQ(SlotOf<void (CBase64::*)(const char*)>(&CBase64::Decode), 3);
  EXPECT_EQ(SlotOf<const unsigned char* (CBase64::*)() const>(&CBase64::DecodedMessage), 5);
  EXPECT_EQ(SlotOf(&CBase64::EncodedMessage), 7);
  EXPECT_EQ(SlotOf(&CBase64::AllocEncode), 8);
  OpenBase64::ExpectTables();
  OpenQuad::ExpectTables();
  OpenSegment::ExpectTables();
}

template <typename... Units>
void ExpectImageUnits() {
  (ExpectTable<Units>(6, &Units::GetImageData, &Units::SetImageData), ...);
}

TEST(Interfaces, ResultsKeepTheirTables) {
  EXPECT_TABLE(CCapturedResultItem, 1, GetType, GetReferenceItem, GetTargetROIDefName, GetTaskName,
               Clone, Retain, Release);
  EXPECT_TABLE(COriginalImageResultItem, 8, GetImageData);
  EXPECT_TABLE(CCapturedResultBase, 1, GetSourceImageHashId, GetSourceImageTag,
               GetSourceImageRotationMatrix, GetErrorCode, GetErrorString);
  EXPECT_TABLE(NxvItemBase, 1, GetType);
  EXPECT_TABLE(ResultImpBase, 1, AddResultItems, ClearAllItems);
  EXPECT_TABLE(BufferedItemBase, 1, GetBufferedItemType);
  EXPECT_TABLE(BufferedItemSetBase, 1, CopyFromManager);
  EXPECT_TABLE(CIntermediateResultUnit, 1, GetUnitType, Clone, Replace, Retain, Release);
  ExpectImageUnits<CColourImageUnit, CScaledColourImageUnit, CGrayscaleImageUnit,
                   CTransformedGrayscaleImageUnit, CEnhancedGrayscaleImageUnit, CBinaryImageUnit,
                   CTextureRemovedGrayscaleImageUnit, CTextureRemovedBinaryImageUnit,
                   CTextRemovedBinaryImageUnit>();
  EXPECT_TABLE(CContoursUnit, 6, GetContours, SetContours);
  EXPECT_TABLE(CTextureDetectionResultUnit, 6, GetSpacingX, SetSpacingX, GetSpacingY, SetSpacingY);
  EXPECT_TABLE(CPredetectedRegionsUnit, 6, GetCount, GetPredetectedRegion, AddPredetectedRegion,
               SetPredetectedRegion, RemovePredetectedRegion, RemoveAllPredetectedRegions);
  EXPECT_TABLE(CTextZonesUnit, 6, GetCount, GetTextZone, AddTextZone, SetTextZone, RemoveTextZone,
               RemoveAllTextZones);
  EXPECT_TABLE(CLineSegmentsUnit, 6, GetCount, GetLineSegment, AddLineSegment, SetLineSegment,
               RemoveLineSegment, RemoveAllLineSegments);
  EXPECT_TABLE(CShortLinesUnit, 6, GetCount, GetShortLine, AddShortLine, SetShortLine,
               RemoveShortLine, RemoveAllShortLines);
  EXPECT_TABLE(CRegionObjectElement, 1, GetElementType, GetLocation, SetLocation,
               GetReferencedElement, Clone, Retain, Release);
  EXPECT_TABLE(CPredetectedRegionElement, 8, GetModeName, SetModeName, GetConfidence,
               SetConfidence);
  EXPECT_TABLE(CAuxiliaryRegionElement, 8, GetName, SetName, GetConfidence, SetConfidence);
  EXPECT_TABLE(CIntermediateResult, 1, GetCount, GetIntermediateResultUnit);
  EXPECT_TABLE(CAbstractIntermediateResultReceiver, 1, OnTargetROIResultsReceived,
               OnTaskResultsReceived, OnSectionResultsReceived, OnUnitResultReceived);
  EXPECT_TABLE(CObservationParametersImp, 1, SetObservedResultUnitTypes, GetObservedResultUnitTypes,
               IsResultUnitTypeObserved, AddObservedTask, RemoveObservedTask, IsTaskObserved,
               SetResultUnitTypesOnlyForInput, GetResultUnitTypesOnlyForInput,
               IsResultUnitTypeOnlyForInput);
  EXPECT_EQ(CountVirtualOperations<CObservationParameters>(), 10);
}

TEST(Interfaces, RegionsAndEngineKeepTheirTables) {
  EXPECT_TABLE(NxRegionObject, 6, GetCropROITransMat, CheckDuplicateStatusWithRegionObject,
               CalcRegionHashId);
  ExpectTable<NxIntermediateResult>(3);
  EXPECT_TABLE(NxTargetROIDef, 1, CreateROIDefOutput, AppendWorkItems, IsROIDefOutputFinished,
               FilterROIDefOutput, DispatchROIDefOutput);
  EXPECT_TABLE(NxDependencyGraph, 1, Run);
  EXPECT_TABLE(Nx_WorkObjectBase, 1, Work, AppendWorkOutputs, GetMaxThreadNumInOneTask,
               DealTaskResults, CheckAndInitWorkModes);
  EXPECT_TABLE(NxTaskOutput, 1, MarkAsFinish);
  EXPECT_TABLE(NxWorkOutput, 1, MarkAsFinish);
  EXPECT_TABLE(ExecutableWorkItem, 1, Process, FinishWork);
  EXPECT_TABLE(ResolvableWorkItem, 1, Process, FinishWork);
  EXPECT_TABLE(SourceImageCacheBase, 1, CleanCache);
  EXPECT_TABLE(TargetROIDefEventListener, -1, HandleSingleRegionCompeleteEvent,
               HandleTaskUnitOutputCompeleteEvent);
  ExpectOnlyDestructors<SectionResultUnitBase, NxUnitBase, NxSourceImageObject, NxRegionImageInfo,
                        NxRegionObjectManager, WorkModesStateObject, CpxTaskObject,
                        SemanticProcessor, SemanticProcessorGroup, NxTargetTaskSetting,
                        TargetROIDefEvent, NxDependencyFinishFlag, NxTaskOutputAtomResult,
                        NxWorkOutputAtom, NxWorkOutputTable, NxROIDefOutput,
                        NxReferenceFilterBase>();
}

static_assert(!std::is_polymorphic_v<TargetROIDefSetting>);
static_assert(!std::is_polymorphic_v<NxSectionResultsCache>);
static_assert(!std::is_polymorphic_v<NxDataManagerPool>);
static_assert(!std::is_polymorphic_v<TaskUnitQueue>);

// Results and items are shared: only their own release may destroy them.
static_assert(!std::is_destructible_v<CCapturedResultItem>);
static_assert(!std::is_destructible_v<COriginalImageResultItem>);
static_assert(!std::is_destructible_v<CCapturedResultBase>);

}  // namespace
}  // namespace velmora
