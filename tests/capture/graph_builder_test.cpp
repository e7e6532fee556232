// What becomes of a template's tasks in the modules.
#include "velmora_capture/internal/graph_builder.h"
#include "tests/support/test.h"

namespace velmora::capture {
namespace {

using Names = std::vector<std::string>;

// A template of one definition with a task of the module Chain, made into a graph.
class BuiltGraph {
 public:
  explicit BuiltGraph(const std::string& members)
      : document_("t", R"({"Name": "t", "Definitions": [{"Name": "A", "Priority": 5, "Tasks": [)"
                       R"({"Name": "x", "Module": "Chain", )" +
                           members + "}]}]}") {
    EXPECT_TRUE(document_.Parse());
    const ModuleRegistry registry({VELMORA_TEST_MODULES "/first"});
    graph_ =
        GraphBuilder(registry, managers_, receivers_, document_).Build(ReadTemplate(document_));
  }

  const CaptureDefinition& GetDefinition() const { return *graph_->GetDefinitions().front(); }
  std::string Errors() const {
    std::string errors;
    for (const TemplateError& error : document_.GetErrors()) errors += error.ToString() + "\n";
    return errors;
  }
  NxDataManagerPool managers_;
  IntermediateResultReceiverVector receivers_;

 private:
  JsonDocument document_;
  NxRef<CaptureGraph> graph_;
};

TEST(GraphBuilder, GivesEachLinkOfAChainItsWorkModesAndNames) {
  const BuiltGraph graph(R"("WorkModes": ["c", "b"])");
  ASSERT_EQ(graph.Errors(), "");
  EXPECT_EQ(graph.GetDefinition().GetPriorityLevel(), 5);
  Nx_WorkObjectBase* work = graph.GetDefinition().GetTasks().front()->GetTaskObject();
  for (const Names& modes : {Names{"b"}, Names{"c", "b"}}) {
    ASSERT_NE(work, nullptr);
    EXPECT_EQ(work->GetWorkModes(), modes);
    EXPECT_EQ(work->GetTargetDefName() + work->GetTaskName(), "Ax");
    EXPECT_EQ(work->GetManagerPool(), &graph.managers_);
    EXPECT_EQ(work->GetIntermediateResultReceivers(), &graph.receivers_);
    work = work->GetNextWorkObject();
  }
  EXPECT_EQ(work, nullptr);
}

TEST(GraphBuilder, ReportsWhatModulesRefuse) {
  using Row = std::pair<const char*, const char*>;
  for (const auto& [members, error] : {
           Row{R"("WorkModes": ["b", "x"])",
               R"("x" is no work mode of Chain; there is "a", "b", "c" (-10038: )"},
           Row{R"("Settings": {"Fails": true})",
               R"(.Module: module "Chain" failed: out of luck (-10000: )"},
       }) {
    EXPECT_PRED_FORMAT2(::testing::IsSubstring, error, BuiltGraph(members).Errors());
  }
}

}  // namespace
}  // namespace velmora::capture
