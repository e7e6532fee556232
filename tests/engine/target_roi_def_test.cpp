// Definitions, the tasks that they hold and the graph whose nodes they are.
#include "tests/engine/engine_objects.h"

namespace velmora {
namespace {

using testing::FunctionWork;

// Fills in what the driving module would.
class PlainDef : public NxTargetROIDef {
 public:
  using NxTargetROIDef::SetParentDefNodes;

  NxRef<NxROIDefOutput> CreateROIDefOutput(const NxRef<NxRegionObject>&,
                                           const NxRef<NxRegionObject>&, NxSemaphore*) override {
    return nullptr;
  }
  void AppendWorkItems(NxROIDefOutput*, ThreadPoolBase*) override {}
  bool IsROIDefOutputFinished(NxROIDefOutput*) override { return false; }
  void DispatchROIDefOutput(NxROIDefOutput*) override {}
};

class PlainGraph : public NxDependencyGraph {
  int Run(const NxRef<NxRegionObject>&, ThreadPoolBase*, NxSemaphore*) override { return 0; }
};

TEST(TargetTaskSetting, AddsUpTheChainsThatItIsGiven) {
  NxTargetTaskSetting task("R", "T", TT_ATOMIC_1, 4);
  const NxRef<Nx_WorkObjectBase> works[] = {new FunctionWork, new FunctionWork, new FunctionWork};
  works[0]->SetNextWorkObject(works[1]);
  works[1]->SetNextWorkObject(works[2]);
  EXPECT_EQ(works[2]->GetIndexInTask(), 2);
  for (const auto& chain : {works[0], works[1], NxRef<Nx_WorkObjectBase>()}) {
    task.SetTaskObject(chain);
  }
  EXPECT_EQ(task.GetWorkCountInTask(), 5);
  EXPECT_EQ(task.GetTaskObject(), works[1].get());
  EXPECT_EQ(works[0]->GetReferenceCount(), 1);
}

TEST(TargetROIDefSetting, KeepsTheSecondOfTwoSettingsUnderOneName) {
  TargetROIDefSetting setting;
  const NxRef<NxTargetTaskSetting> second = new NxTargetTaskSetting("R", "read", TT_ATOMIC_0, 0);
  setting.AddTaskSetting("read", new NxTargetTaskSetting("page", "read", TT_ATOMIC_0, 0));
  // The name is a member of the setting that is replaced.
  setting.AddTaskSetting(setting.GetTaskMap().at("read")->GetTaskName(), second);
  for (const char* def : {"page", ""}) {
    setting.AddOutputTaskSetting("show", new NxTargetTaskSetting(def, "show", TT_ATOMIC_0, 0));
  }
  EXPECT_EQ(setting.GetTaskMap(), (TargetROIDefSetting::TaskMap{{"read", second}}));
  EXPECT_EQ(setting.GetOutputTaskMap().at("show")->GetTaskFullName(), "{}[show]");
  const std::map<std::string, std::string> names = {{"read", "{R}[read]"}, {"show", "{}[show]"}};
  EXPECT_EQ(setting.GetAllTaskNameMap(), names);
}

// A definition with tasks t0 to t3 and output tasks o0 and o3, named after their types.
struct DefWithTasks : PlainDef {
  DefWithTasks() {
    TargetROIDefSetting& setting = *GetTargetDefSetting();
    for (const std::string name : {"t0", "t1", "t2", "t3", "o0", "o3"}) {
      const NxRef<NxTargetTaskSetting> task =
          new NxTargetTaskSetting("page", name, static_cast<TaskType>(name[1] - '0'), 0);
      name[0] == 't' ? setting.AddTaskSetting(name, task)
                     : setting.AddOutputTaskSetting(name, task);
    }
  }

  std::string Activated() const {
    std::string names;
    const TargetROIDefSetting& setting = *GetTargetDefSetting();
    for (const auto* tasks : {&setting.GetTaskMap(), &setting.GetOutputTaskMap()}) {
      for (const auto& [name, task] : *tasks) names += task->IsActivatedTask() ? name + " " : "";
    }
    return names;
  }
};

TEST(TargetROIDef, ActivatesNamedTasksOfFlaggedTypesAndNamedOutputTasks) {
  struct Row {
    std::vector<std::string> names;
    bool flags[3];
    const char* activated;
  };
  for (Row row : {Row{{"t0", "t1", "t2", "t3", "o0"}, {false, true, false}, "t1 o0 "},
                  Row{{"t0", "t2", "t3", "o3"}, {true, false, true}, "t0 t2 o3 "},
                  Row{{"t", "T1", "o"}, {true, true, true}, ""}}) {
    DefWithTasks def;
    def.ActivateTaskByNameArrayAndAtomicTypeFlag(row.names, row.flags);
    EXPECT_EQ(def.Activated(), row.activated);
  }
  DefWithTasks def;
  def.ActivateCertainTasks({"t3", "o0", "absent"});
  EXPECT_EQ(def.Activated(), "t3 o0 ");
  def.ActivateAllTask();
  EXPECT_EQ(def.Activated(), "t0 t1 t2 t3 o0 o3 ");
}

using Nodes = std::vector<NxTargetROIDef*>;

TEST(TargetROIDef, LinksBothWaysAndListensOnlyThroughSetParents) {
  PlainDef parent;
  PlainDef child;
  child.AddParentDefNode(&parent);
  parent.AddChildDefNode(&child);
  EXPECT_EQ(parent.GetChildDefNodes(), (Nodes{&child, &child}));
  EXPECT_EQ(child.GetParentDefNodes(), (Nodes{&parent, &parent}));
  EXPECT_TRUE(parent.GetListeners().empty());

  child.SetParentDefNodes({&parent});
  child.SetParentDefNodes(child.GetParentDefNodes());
  EXPECT_EQ(child.GetParentDefNodes(), Nodes{&parent});
  EXPECT_EQ(parent.GetChildDefNodes(), (Nodes{&child, &child, &child, &child}));
  EXPECT_EQ(parent.GetListeners(), std::vector<TargetROIDefEventListener*>{&child});
}

TEST(TargetROIDef, CopiesAllButTheGraph) {
  PlainGraph graph;
  PlainDef parent;
  PlainDef child;
  DefWithTasks def;
  def.SetGraph(&graph);
  def.SetPriorityLevel(3);
  def.SetIntermediateResultExtraInfo({1, 2, true, 3});
  def.SetParentDefNodes({&parent});
  child.SetParentDefNodes({&def});
  PlainDef assigned;
  assigned = def;
  const PlainDef copied(def);
  for (const PlainDef* copy : {&copied, static_cast<const PlainDef*>(&assigned)}) {
    EXPECT_EQ(copy->GetGraph(), nullptr);
    EXPECT_EQ(copy->GetPriorityLevel(), 3);
    EXPECT_EQ(copy->GetIntermediateResultExtraInfo()->word2, 3U);
    EXPECT_EQ(copy->GetParentDefNodes(), Nodes{&parent});
    EXPECT_EQ(copy->GetChildDefNodes(), Nodes{&child});
    EXPECT_EQ(copy->GetListeners(), def.GetListeners());
    EXPECT_EQ(copy->GetTargetDefSetting()->GetTaskMap(), def.GetTargetDefSetting()->GetTaskMap());
  }
}

TEST(DependencyGraph, KeepsTheFirstNodeOfANameWhichOutlivesIt) {
  NxRef<PlainGraph> graph = new PlainGraph;
  const NxRef<PlainDef> node = new PlainDef;
  PlainDef unshared;  // a reference taken and dropped would delete it
  node->GetTargetDefSetting()->SetTargetDefName("page");
  EXPECT_TRUE(graph->AddTargetROIDefNode("b", node.get()));
  EXPECT_FALSE(graph->AddTargetROIDefNode("b", &unshared));
  EXPECT_FALSE(graph->AddTargetROIDefNode("", &unshared));
  EXPECT_TRUE(graph->AddTargetROIDefNode("a", nullptr));
  EXPECT_EQ(graph->GetNodeNames(), (std::vector<std::string>{"b", "a"}));
  const NxDependencyGraph::NodeMap nodes = {{"a", nullptr}, {"b", node}};
  EXPECT_EQ(graph->GetTargetDefNodesMap(), nodes);
  EXPECT_EQ(node->GetGraph(), nullptr);
  graph.reset();
  EXPECT_EQ(node->GetReferenceCount(), 2) << "the one here and the one of the map above";
  EXPECT_EQ(node->GetTargetDefSetting()->GetTargetDefName(), "page");
}

}  // namespace
}  // namespace velmora
