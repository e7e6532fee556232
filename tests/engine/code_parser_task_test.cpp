#include "velmora/engine/code_parser_task.h"

#include <gtest/gtest.h>

#include <utility>

namespace velmora {
namespace {

TEST(SemanticProcessor, ListsATaskAsOftenAsAppended) {
  int context = 0;
  SemanticProcessor processor("passport", &context);
  const NxRef<CpxTaskObject> task = new CpxTaskObject("mrz", "{\"lines\":2}");
  processor.AppendCpxTask(task);
  processor.AppendCpxTask(task);
  ASSERT_EQ(processor.GetCpxTasks().size(), 2U);
  EXPECT_EQ(processor.GetCpxTasks()[0], processor.GetCpxTasks()[1]);
  EXPECT_EQ(task->GetReferenceCount(), 3);
  EXPECT_EQ(processor.GetContext(), &context);
}

// Copies share, moves empty their source, on both levels; no copy inherits a reference count.
TEST(SemanticProcessorGroup, CopiesShareAndMovesEmptyTheSource) {
  const NxRef<CpxTaskObject> task = new CpxTaskObject("mrz", "");
  const NxRef<SemanticProcessor> processor = new SemanticProcessor("passport", nullptr);
  processor->AppendCpxTask(task);
  SemanticProcessorGroup group;
  group.AppendProcessor(processor);

  const SemanticProcessor processorCopy(*processor);
  EXPECT_EQ(processorCopy.GetName(), "passport");
  EXPECT_EQ(processorCopy.GetCpxTasks()[0], task);
  EXPECT_EQ(processorCopy.GetReferenceCount(), 0);
  SemanticProcessorGroup groupCopy;
  groupCopy = group;
  EXPECT_EQ(groupCopy.GetProcessors()[0], processor);

  SemanticProcessor movedProcessor("", nullptr);
  movedProcessor = std::move(*processor);
  EXPECT_TRUE(processor->GetCpxTasks().empty());  // NOLINT(bugprone-use-after-move)
  EXPECT_EQ(movedProcessor.GetCpxTasks()[0], task);
  const SemanticProcessorGroup movedGroup(std::move(group));
  EXPECT_TRUE(group.GetProcessors().empty());  // NOLINT(bugprone-use-after-move)
  EXPECT_EQ(movedGroup.GetProcessors()[0], processor);
}

}  // namespace
}  // namespace velmora
