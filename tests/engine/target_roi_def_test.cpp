#include "velmora/engine/target_roi_def.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "tests/engine/engine_objects.h"
#include "velmora/engine/dependency_graph.h"

namespace velmora {
namespace {

using testing::FunctionWork;
using testing::PlainDef;
using testing::PlainGraph;

NxRef<NxTargetTaskSetting> Task(const std::string& name, int type = 0) {
  return new NxTargetTaskSetting("page", name, static_cast<TaskType>(type), 0);
}

NxRef<Nx_WorkObjectBase> Chain(int length) {
  NxRef<Nx_WorkObjectBase> head = new FunctionWork;
  Nx_WorkObjectBase* tail = head.get();
  for (int i = 1; i < length; ++i) {
    tail->SetNextWorkObject(new FunctionWork);
    tail = tail->GetNextWorkObject();
    EXPECT_EQ(tail->GetIndexInTask(), i);
  }
  return head;
}

TEST(TargetTaskSetting, BuildsTheFullName) {
  EXPECT_EQ(NxTargetTaskSetting("R", "T", TT_ATOMIC_1, 4).GetTaskFullName(), "{R}[T]");
  EXPECT_EQ(NxTargetTaskSetting("", "T", TT_ATOMIC_1, 4).GetTaskFullName(), "{}[T]");
}

TEST(TargetTaskSetting, AddsUpTheChainsThatItIsGiven) {
  NxTargetTaskSetting task("R", "T", TT_ATOMIC_1, 4);
  EXPECT_FALSE(task.AlreadySetTaskObject());
  const NxRef<Nx_WorkObjectBase> first = Chain(3);
  task.SetTaskObject(first);
  EXPECT_EQ(task.GetWorkCountInTask(), 3);
  const NxRef<Nx_WorkObjectBase> second = Chain(2);
  task.SetTaskObject(second);
  EXPECT_EQ(task.GetWorkCountInTask(), 5);
  task.SetTaskObject(nullptr);
  EXPECT_EQ(task.GetWorkCountInTask(), 5);
  EXPECT_EQ(task.GetTaskObject(), second.get());
  EXPECT_EQ(first->GetReferenceCount(), 1);

  const NxTargetTaskSetting copy(task);
  EXPECT_EQ(copy.GetTaskObject(), second.get());
  EXPECT_EQ(copy.GetWorkCountInTask(), 5);
  EXPECT_EQ(copy.GetTaskIndexInTargetDef(), 4);
}

TEST(TargetROIDefSetting, KeepsTheSecondOfTwoSettingsUnderOneName) {
  TargetROIDefSetting setting;
  const NxRef<NxTargetTaskSetting> second =
      new NxTargetTaskSetting("other", "read", TT_ATOMIC_0, 0);
  setting.AddTaskSetting("read", Task("read"));
  // The name is a member of the setting that is replaced.
  setting.AddTaskSetting(setting.GetTaskMap().at("read")->GetTaskName(), second);
  setting.AddOutputTaskSetting("show", Task("show"));
  EXPECT_EQ(setting.GetTaskMap().size(), 1U);
  EXPECT_EQ(setting.GetTaskMap().at("read"), second);
  EXPECT_EQ(setting.GetOutputTaskMap().count("show"), 1U);
  const std::map<std::string, std::string> names = {{"read", "{other}[read]"},
                                                    {"show", "{page}[show]"}};
  EXPECT_EQ(setting.GetAllTaskNameMap(), names);
}

// Tasks t0 to t3 and output tasks o0 and o3, named after their types.
void AddTasks(NxTargetROIDef& def) {
  for (const int type : {0, 1, 2, 3}) {
    def.GetTargetDefSetting()->AddTaskSetting("t" + std::to_string(type),
                                              Task("t" + std::to_string(type), type));
  }
  for (const int type : {0, 3}) {
    def.GetTargetDefSetting()->AddOutputTaskSetting("o" + std::to_string(type),
                                                    Task("o" + std::to_string(type), type));
  }
}

std::string Activated(const NxTargetROIDef& def) {
  std::string names;
  const TargetROIDefSetting& setting = *def.GetTargetDefSetting();
  for (const auto* tasks : {&setting.GetTaskMap(), &setting.GetOutputTaskMap()}) {
    for (const auto& [name, task] : *tasks) names += task->IsActivatedTask() ? name + " " : "";
  }
  return names;
}

TEST(TargetROIDef, ActivatesNamedTasksOfFlaggedTypesAndNamedOutputTasks) {
  struct Row {
    std::vector<std::string> names;
    bool flags[3];
    const char* activated;
  };
  for (Row row : {Row{{"t0", "t1", "t2", "t3", "o0"}, {false, true, false}, "t1 o0 "},
                  Row{{"t0", "t2", "t3", "o3"}, {true, false, true}, "t0 t2 o3 "},
                  Row{{"t", "T1", "o"}, {true, true, true}, ""}, Row{{}, {true, true, true}, ""}}) {
    PlainDef def;
    AddTasks(def);
    def.ActivateTaskByNameArrayAndAtomicTypeFlag(row.names, row.flags);
    EXPECT_EQ(Activated(def), row.activated);
  }
  PlainDef def;
  AddTasks(def);
  def.ActivateCertainTasks({"t3", "o0", "absent"});
  EXPECT_EQ(Activated(def), "t3 o0 ");
  def.ActivateAllTask();
  EXPECT_EQ(Activated(def), "t0 t1 t2 t3 o0 o3 ");
}

TEST(TargetROIDef, LinksBothWaysAndListensOnlyThroughSetParents) {
  PlainDef parent;
  PlainDef child;
  child.AddParentDefNode(&parent);
  parent.AddChildDefNode(&child);
  using Nodes = std::vector<NxTargetROIDef*>;
  EXPECT_EQ(parent.GetChildDefNodes(), (Nodes{&child, &child}));
  EXPECT_EQ(child.GetParentDefNodes(), (Nodes{&parent, &parent}));
  EXPECT_TRUE(parent.GetListeners().empty());

  child.SetParentDefNodes({&parent});
  child.SetParentDefNodes(child.GetParentDefNodes());
  EXPECT_EQ(child.GetParentDefNodes(), Nodes{&parent});
  EXPECT_EQ(parent.GetChildDefNodes(), (Nodes{&child, &child, &child, &child}));
  EXPECT_EQ(parent.GetListeners(), std::vector<TargetROIDefEventListener*>{&child});
  parent.RegisterListener(&child);
  EXPECT_EQ(parent.GetListeners().size(), 1U);
}

TEST(TargetROIDef, CopiesAllButTheGraph) {
  PlainGraph graph;
  PlainDef parent;
  PlainDef def;
  def.SetGraph(&graph);
  def.SetPriorityLevel(3);
  def.SetIntermediateResultExtraInfo({1, 2, true, 3});
  def.SetParentDefNodes({&parent});
  AddTasks(def);
  PlainDef assigned;
  assigned = def;
  const PlainDef copied(def);
  const PlainDef* const copies[] = {&copied, &assigned};
  for (const PlainDef* copy : copies) {
    EXPECT_EQ(copy->GetGraph(), nullptr);
    EXPECT_EQ(copy->GetPriorityLevel(), 3);
    EXPECT_TRUE(copy->GetIntermediateResultExtraInfo()->flag);
    EXPECT_EQ(copy->GetIntermediateResultExtraInfo()->word2, 3U);
    EXPECT_EQ(copy->GetParentDefNodes(), def.GetParentDefNodes());
    EXPECT_EQ(copy->GetTargetDefSetting()->GetTaskMap(), def.GetTargetDefSetting()->GetTaskMap());
  }
}

}  // namespace
}  // namespace velmora
