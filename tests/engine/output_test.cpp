#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <vector>

#include "tests/engine/engine_objects.h"
#include "tests/support/barrier.h"
#include "velmora/engine/dependency_finish_flag.h"
#include "velmora/engine/reference_filter_base.h"
#include "velmora/engine/roi_def_output.h"
#include "velmora/engine/thread_suspend_token.h"
#include "velmora/engine/work_output_table.h"
#include "velmora/foundation/hash_algorithm.h"

namespace velmora {
namespace {

using testing::MakeRegion;
using testing::MakeWorkOutput;

NxRef<NxTaskOutput> MakeTaskOutput(const NxRef<NxRegionObject>& region, const std::string& name,
                                   int workModesCount = 2) {
  return new NxTaskOutput(region, region, name, TT_ATOMIC_2, true, workModesCount);
}

NxRef<NxTaskOutputAtomResult> Result(const NxRef<NxRegionObject>& region) {
  return new NxTaskOutputAtomResult(region);
}

TEST(Output, TakesItsNamesFromTheReferenceRegion) {
  const NxRef<NxRegionObject> reference = MakeRegion("page");
  NxOutputBase output(MakeRegion("line"), reference, "read", TT_ATOMIC_2);
  EXPECT_EQ(output.GetTargetROIName(), "page");
  EXPECT_EQ(output.GetTaskFullName(), "{page}[read]");
  const std::string hashed = "{page}[read]" + reference->GetRegionHashId();
  EXPECT_EQ(output.GetHashId(), NxHashAlgorithm::Generate_BKDRHash(
                                    hashed.data(), static_cast<unsigned>(hashed.size())));
  EXPECT_EQ(output.GetResultStatus(), TOS_NO_RESULT);
  EXPECT_EQ(output.GetThreadPool(), nullptr);
}

TEST(Output, BecomesTheReferenceOfTheRegionsItCollects) {
  const NxRef<NxRegionObject> page = MakeRegion("page");
  const NxRef<NxRegionObject> line = MakeRegion("line");
  line->SetReferenceRegion(MakeRegion("elsewhere"));
  const NxRef<NxTaskOutput> output = MakeTaskOutput(page, "read");
  output->AddResult(nullptr);
  output->AddResult(new NxTaskOutputAtomResult);
  output->AddResult(Result(line));
  output->AddResult(Result(page));
  EXPECT_EQ(line->GetReferenceRegion(), page);
  EXPECT_EQ(page->GetReferenceRegion(), nullptr) << "no region is its own reference";
  EXPECT_EQ(output->GetResultCount(), 4);
  EXPECT_EQ(output->GetResult(2)->GetRegion(), line);
  EXPECT_TRUE(output->AlreadyExistObject(line.get()));
  EXPECT_FALSE(output->AlreadyExistObject(MakeRegion("line").get()));
  EXPECT_FALSE(output->AlreadyExistObject(nullptr));

  const NxRef<NxTaskOutput> lineOutput = MakeTaskOutput(line, "split");
  EXPECT_EQ(lineOutput->GetReferenceRegionByTargetName("page"), page);
  EXPECT_EQ(lineOutput->GetReferenceRegionByTargetName("line"), nullptr);
}

TEST(Output, MarksTheFlagEachTimeItIsFinished) {
  class Counting : public NxOutputBase {
   public:
    using NxOutputBase::NxOutputBase;
    void MarkAsFinish() override { ++marks; }
    int marks = 0;
  };
  Counting counting(nullptr, MakeRegion("page"), "read", TT_ATOMIC_0);
  for (const TaskOutputStatus status :
       {TOS_WORK_ENDED, TOS_FINISHED, TOS_FINISHED, TOS_NO_RESULT}) {
    counting.SetResultStatus(status);
    EXPECT_EQ(counting.GetResultStatus(), status);
  }
  EXPECT_EQ(counting.marks, 2);

  const NxRef<NxTaskOutput> output = MakeTaskOutput(MakeRegion("page"), "read");
  EXPECT_EQ(output->GetFinishFlag()->GetTaskFullName(), "{page}[read]");
  output->SetResultStatus(TOS_WORK_ENDED);
  EXPECT_FALSE(output->GetFinishFlag()->IsFinished());
  output->SetResultStatus(TOS_FINISHED);
  EXPECT_TRUE(output->GetFinishFlag()->IsFinished());
}

// However many threads end the work, one does; and none does once the output is finished.
TEST(Output, EndsItsWorkOnce) {
  const NxRef<NxRegionObject> region = MakeRegion("page");
  for (int round = 0; round < 500; ++round) {
    NxOutputBase output(region, region, "read", TT_ATOMIC_0);
    std::atomic<int> enders{0};
    testing::RunTogether(3, [&](int thread) {
      if (thread == 2 && round % 2 == 0) return output.SetResultStatus(TOS_FINISHED);
      if (output.EndWork()) ++enders;
    });
    const bool isFinished = round % 2 == 0;
    ASSERT_EQ(output.GetResultStatus(), isFinished ? TOS_FINISHED : TOS_WORK_ENDED);
    ASSERT_EQ(output.GetResultCount(), enders) << "who ends the work adds its one empty result";
    ASSERT_LE(enders, 1);
    ASSERT_TRUE(isFinished || enders == 1);
    ASSERT_FALSE(output.EndWork());
  }
}

TEST(TaskOutput, IgnoresWorkOutsideItsModes) {
  const NxRef<NxRegionObject> region = MakeRegion("page");
  const NxRef<NxTaskOutput> output = MakeTaskOutput(region, "read", 2);
  const NxRef<NxWorkOutput> work = MakeWorkOutput(region, "fast");
  for (const int mode : {-1, 0, 1, 1, 2}) output->AddWorkOutput(mode, work);
  ASSERT_EQ(output->GetWorkOutputs().size(), 2U);
  EXPECT_EQ(output->GetWorkOutputs()[0].size(), 1U);
  EXPECT_EQ(output->GetWorkOutputs()[1].size(), 2U);

  NxRef<NxWorkOutputTable>& table = output->GetWorkTable();
  for (const int mode : {0, 1, 2}) table->AppendNextWorkOutput(0, mode, work);
  for (const bool isThere : {true, true, false}) {
    EXPECT_EQ(table->GetNextTopPriorityWorkOutput("") == work, isThere);
  }
  EXPECT_TRUE(MakeTaskOutput(region, "read", -3)->GetWorkOutputs().empty());
}

// The token that is replaced may take a lock of its own, or this one again, while it dies.
TEST(TaskOutput, ReplacesTheSuspendTokenOutsideItsLock) {
  class Token : public ThreadSuspendToken {
   public:
    explicit Token(NxTaskOutput* output) : output_(output) {}
    ~Token() override {
      NxRef<ThreadSuspendToken> current;
      output_->GetThreadSuspendToken(current);
    }

   private:
    NxTaskOutput* output_;
  };
  const NxRef<NxTaskOutput> output = MakeTaskOutput(MakeRegion("page"), "read");
  output->SetThreadSuspendToken(new Token(output.get()));
  NxRef<ThreadSuspendToken> token = new ThreadSuspendToken;
  output->SetThreadSuspendToken(token);
  NxRef<ThreadSuspendToken> read;
  output->GetThreadSuspendToken(read);
  EXPECT_EQ(read, token);
}

TEST(SectionResultsCache, MakesAnAbsentSection) {
  NxSectionResultsCache cache;
  const auto section = static_cast<SectionType>(7);
  EXPECT_TRUE(cache.GetResults(section).empty());
  EXPECT_EQ(cache.GetAllSectionResults().count(section), 1U);
  cache.PushBackResult(section, MakeRegion("page"));
  cache.PushBackAuxiliaryResult(section, nullptr);
  cache.SetResults(section, cache.GetResults(section));
  EXPECT_EQ(cache.GetResults(section).size(), 1U);
  EXPECT_EQ(cache.GetAuxiliaryResults(section).size(), 1U);
}

TEST(ROIDefOutput, FindsTheFirstOutputOfATask) {
  const NxRef<NxRegionObject> region = MakeRegion("page");
  NxROIDefOutput output(region, region, nullptr);
  output.AddTaskOutput(nullptr);
  for (const char* name : {"read", "check", "read"}) {
    output.AddTaskOutput(MakeTaskOutput(region, name));
  }
  EXPECT_EQ(output.GetTargetROIName(), "page");
  EXPECT_EQ(output.GetOutputCount(), 4);
  const NxROIDefOutput copy(output);
  EXPECT_EQ(copy.GetTaskOutputByTaskName("read"), output.GetTaskOutput(1));
  EXPECT_EQ(copy.GetTaskOutputByTaskName("rea"), nullptr);
}

TEST(ReferenceFilter, AssignsAsAnyObject) {
  const NxRef<NxReferenceFilterBase> named = new NxReferenceFilterBase;
  named->SetObjectId("filter");
  NxReferenceFilterBase other;
  other = *named;
  EXPECT_EQ(other.GetObjectId(), "filter");
  EXPECT_EQ(other.GetReferenceCount(), 0);
}

}  // namespace
}  // namespace velmora
