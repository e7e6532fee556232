#include "velmora/engine/code_parser_task.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace velmora {
namespace {

TEST(SemanticProcessor, ListsATaskAsOftenAsAppendedAndHandsTheListOverInAMove) {
  int context = 0;
  const NxRef<CpxTaskObject> task = new CpxTaskObject("mrz", "");
  SemanticProcessor processor("passport", &context);
  for (int i = 0; i < 2; ++i) processor.AppendCpxTask(task);
  const SemanticProcessor copy(processor);
  const SemanticProcessor moved(std::move(processor));
  EXPECT_TRUE(processor.GetCpxTasks().empty());  // NOLINT(bugprone-use-after-move)
  for (const SemanticProcessor* other : {&copy, &moved}) {
    EXPECT_EQ(other->GetCpxTasks(), (std::vector<NxRef<CpxTaskObject>>{task, task}));
    EXPECT_EQ(other->GetContext(), &context);
    EXPECT_EQ(other->GetReferenceCount(), 0) << "a count is nobody's but the object's";
  }
}

}  // namespace
}  // namespace velmora
