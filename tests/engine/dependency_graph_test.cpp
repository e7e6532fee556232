#include "velmora/engine/dependency_graph.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/engine/engine_objects.h"

namespace velmora {
namespace {

using testing::FunctionWork;
using testing::MakeRegion;
using testing::PlainDef;
using testing::PlainGraph;

TEST(DependencyGraph, KeepsTheFirstNodeOfAName) {
  PlainGraph graph;
  const NxRef<PlainDef> first = new PlainDef;
  const NxRef<PlainDef> second = new PlainDef;
  PlainDef unshared;  // a reference taken and dropped would delete it
  EXPECT_TRUE(graph.AddTargetROIDefNode("b", first.get()));
  EXPECT_FALSE(graph.AddTargetROIDefNode("b", &unshared));
  EXPECT_FALSE(graph.AddTargetROIDefNode("", &unshared));
  EXPECT_TRUE(graph.AddTargetROIDefNode("a", second.get()));
  EXPECT_TRUE(graph.AddTargetROIDefNode("none", nullptr));
  EXPECT_EQ(graph.GetNodeNames(), (std::vector<std::string>{"b", "a", "none"}));
  EXPECT_EQ(graph.GetTargetDefNodesMap().at("b"), first);
  EXPECT_EQ(graph.GetTargetDefNodesMap().at("none"), nullptr);
  EXPECT_EQ(first->GetReferenceCount(), 2);
  EXPECT_EQ(first->GetGraph(), nullptr);
}

TEST(DependencyGraph, OutlivedByANodeLeavesItItsName) {
  NxRef<PlainDef> node = new PlainDef;
  {
    const NxRef<PlainGraph> graph = new PlainGraph;
    node->GetTargetDefSetting()->SetTargetDefName("page");
    graph->AddTargetROIDefNode("page", node.get());
    graph->SetBeginNode(node.get());
  }
  EXPECT_EQ(node->GetReferenceCount(), 1);
  EXPECT_EQ(node->GetTargetDefSetting()->GetTargetDefName(), "page");
}

TEST(WorkObject, StartsTheWorkModesOfARegion) {
  FunctionWork work;
  work.SetWorkModes({"fast", "deep"});
  work.SetWorkModes(work.GetWorkModes());
  const NxRef<NxRegionObject> region = MakeRegion("page");
  const NxRef<WorkModesStateObject> state = work.CheckAndInitWorkModes(region.get(), nullptr);
  EXPECT_EQ(state->GetNumber(), 0);
  const WorkModesStateObject::StateList fresh = {{"fast", WMS_NotStarted},
                                                 {"deep", WMS_NotStarted}};
  EXPECT_EQ(state->GetStates(), fresh);
  EXPECT_NE(work.CheckAndInitWorkModes(region.get(), nullptr), state.get());
  EXPECT_EQ(work.GetMaxThreadNumInOneTask(), 0);
}

}  // namespace
}  // namespace velmora
