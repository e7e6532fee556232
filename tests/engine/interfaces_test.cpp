#include <gtest/gtest.h>

#include <type_traits>
#include <typeinfo>

#include "tests/support/virtual_slots.h"
#include "velmora/velmora.h"

namespace velmora {
namespace {

using testing::CountVirtualOperations;
using testing::SlotOf;

// Modules are compiled against these tables: one operation more, less or in another place breaks
// every module that exists.

// What is in slots first, first + 1, first + 2...; the last one ends the table. The first is 1 behind
// a destructor and -1 without one.
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

TEST(Interfaces, EngineKeepsItsTables) {
  using Def = NxTargetROIDef;
  ExpectTable<Def>(1, &Def::CreateROIDefOutput, &Def::AppendWorkItems, &Def::IsROIDefOutputFinished,
                   &Def::FilterROIDefOutput, &Def::DispatchROIDefOutput);
  ExpectTable<NxDependencyGraph>(1, &NxDependencyGraph::Run);
  using Work = Nx_WorkObjectBase;
  ExpectTable<Work>(1, &Work::Work, &Work::AppendWorkOutputs, &Work::GetMaxThreadNumInOneTask,
                    &Work::DealTaskResults, &Work::CheckAndInitWorkModes);
  ExpectTable<NxTaskOutput>(1, &NxOutputBase::MarkAsFinish);
  ExpectTable<NxWorkOutput>(1, &NxOutputBase::MarkAsFinish);
  using Item = RtrThreadWorkItemBase;
  ExpectTable<ExecutableWorkItem>(1, &Item::Process, &Item::FinishWork);
  ExpectTable<ResolvableWorkItem>(1, &Item::Process, &Item::FinishWork);
  ExpectTable<SourceImageCacheBase>(1, &SourceImageCacheBase::CleanCache);
  ExpectOnlyDestructors<CpxTaskObject, SemanticProcessor, SemanticProcessorGroup,
                        NxTargetTaskSetting, TargetROIDefEvent, NxDependencyFinishFlag,
                        NxTaskOutputAtomResult, NxWorkOutputAtom, NxWorkOutputTable, NxROIDefOutput,
                        NxReferenceFilterBase>();
  using Listener = TargetROIDefEventListener;
  ExpectTable<Listener>(-1, &Listener::HandleSingleRegionCompeleteEvent,
                        &Listener::HandleTaskUnitOutputCompeleteEvent);
  static_assert(!std::is_polymorphic_v<TargetROIDefSetting>);
  static_assert(!std::is_polymorphic_v<NxSectionResultsCache>);
  static_assert(!std::is_polymorphic_v<NxDataManagerPool>);
  static_assert(!std::is_polymorphic_v<TaskUnitQueue>);
}

TEST(Interfaces, LowerRoomsKeepTheirTables) {
  using namespace basic_structures;
  using Source = CImageSourceAdapter;
  ExpectTable<Source>(1, &Source::HasMoreImages, &Source::StartFetching, &Source::StopFetching,
                      &Source::GetImage);
  ExpectTable<CImageTag>(1, &CImageTag::GetType, &CImageTag::Clone);
  ExpectOnlyDestructors<NxObjectBase, NxSingleThreadObjectBase, NxModuleLoaderBaseAuto, CImageData,
                        NxImageData, NxImageDataInner, CImageDataWrapper, TextBlock>();
  using Listener = CImageSourceErrorListener;
  ExpectTable<Listener>(-1, &Listener::OnImageSourceError);
  using Pool = ThreadPoolBase;
  ExpectTable<Pool>(-1, &Pool::AppendWorkItem, &Pool::GetThreadCount, &Pool::Stop);
}

}  // namespace
}  // namespace velmora
