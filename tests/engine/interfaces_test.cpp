#include <gtest/gtest.h>

#include <type_traits>

#include "tests/support/virtual_slots.h"
#include "velmora/velmora.h"

namespace velmora {
namespace {

using testing::CountVirtualOperations;
using testing::SlotOf;
using testing::TableIndex;

// Modules are compiled against these tables: one operation more, less or in another place breaks
// every module that exists. The destructor is in slot 0, the members follow, and nothing else.
template <typename Class, typename... Members>
void ExpectTable(const char* name, Members... members) {
  SCOPED_TRACE(name);
  int want = 0;
  for (const int slot : {0, SlotOf(members)...}) EXPECT_EQ(slot, want++);
  EXPECT_EQ(CountVirtualOperations<Class>(), want);
}

template <typename... Classes>
void ExpectOnlyDestructors() {
  for (const int count : {CountVirtualOperations<Classes>()...}) EXPECT_EQ(count, 1);
}

TEST(Interfaces, EngineKeepsItsTables) {
  using Def = NxTargetROIDef;
  ExpectTable<Def>("definition", &Def::CreateROIDefOutput, &Def::AppendWorkItems,
                   &Def::IsROIDefOutputFinished, &Def::FilterROIDefOutput,
                   &Def::DispatchROIDefOutput);
  ExpectTable<NxDependencyGraph>("graph", &NxDependencyGraph::Run);
  using Work = Nx_WorkObjectBase;
  ExpectTable<Work>("work object", &Work::Work, &Work::AppendWorkOutputs,
                    &Work::GetMaxThreadNumInOneTask, &Work::DealTaskResults,
                    &Work::CheckAndInitWorkModes);
  ExpectTable<NxTaskOutput>("task output", &NxOutputBase::MarkAsFinish);
  ExpectTable<NxWorkOutput>("work output", &NxOutputBase::MarkAsFinish);
  using Item = RtrThreadWorkItemBase;
  ExpectTable<ExecutableWorkItem>("executable item", &Item::Process, &Item::FinishWork);
  ExpectTable<ResolvableWorkItem>("resolvable item", &Item::Process, &Item::FinishWork);
  ExpectTable<SourceImageCacheBase>("cache", &SourceImageCacheBase::CleanCache);
  ExpectOnlyDestructors<CpxTaskObject, SemanticProcessor, SemanticProcessorGroup,
                        NxTargetTaskSetting, TargetROIDefEvent, NxDependencyFinishFlag,
                        NxTaskOutputAtomResult, NxWorkOutputAtom, NxWorkOutputTable, NxROIDefOutput,
                        NxReferenceFilterBase>();
}

TEST(Interfaces, LowerRoomsKeepTheirTables) {
  using namespace basic_structures;
  using Source = CImageSourceAdapter;
  ExpectTable<Source>("image source", &Source::HasMoreImages, &Source::StartFetching,
                      &Source::StopFetching, &Source::GetImage);
  ExpectTable<CImageTag>("image tag", &CImageTag::GetType, &CImageTag::Clone);
  ExpectOnlyDestructors<NxObjectBase, NxSingleThreadObjectBase, NxModuleLoaderBaseAuto, CImageData,
                        NxImageData, NxImageDataInner, CImageDataWrapper, TextBlock>();
  // Without a destructor in front of them.
  EXPECT_EQ(TableIndex(&CImageSourceErrorListener::OnImageSourceError), 0);
  using Pool = ThreadPoolBase;
  EXPECT_EQ(TableIndex(&Pool::AppendWorkItem), 0);
  EXPECT_EQ(TableIndex(&Pool::GetThreadCount), 1);
  EXPECT_EQ(TableIndex(&Pool::Stop), 2);
}

TEST(Interfaces, EngineListenersHaveTwoHandlersAndValuesNone) {
  struct Probe : TargetROIDefEventListener {
    virtual void OneMore() {}

   protected:
    ~Probe() = default;
  };
  EXPECT_EQ(TableIndex(&Probe::OneMore), 2);
  static_assert(!std::has_virtual_destructor_v<TargetROIDefEventListener>);
  static_assert(!std::is_polymorphic_v<TargetROIDefSetting>);
  static_assert(!std::is_polymorphic_v<NxSectionResultsCache>);
  static_assert(!std::is_polymorphic_v<NxDataManagerPool>);
  static_assert(!std::is_polymorphic_v<TaskUnitQueue>);
}

}  // namespace
}  // namespace velmora
