#include "velmora/engine/task_effect_time_manager.h"

#include <gtest/gtest.h>

#include <climits>

namespace velmora {
namespace {

TEST(TaskEffectTimeManager, IsOpenAboveZeroOnly) {
  TaskEffectTimeManager manager;
  EXPECT_FALSE(manager.IsTimePointOpen());
  struct Row {
    int timePoint;
    bool open;
  };
  for (const Row& row : {Row{1, true}, Row{0, false}, Row{INT_MAX, true}, Row{-1, false}}) {
    manager.SetTimePointToTaskEffect(row.timePoint);
    EXPECT_EQ(manager.IsTimePointOpen(), row.open) << row.timePoint;
  }
}

}  // namespace
}  // namespace velmora
