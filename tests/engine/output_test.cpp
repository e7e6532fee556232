#include <gtest/gtest.h>

#include <atomic>
#include <deque>
#include <string>
#include <thread>

#include "tests/engine/engine_objects.h"
#include "tests/support/barrier.h"

namespace velmora {
namespace {

using testing::Asking;
using testing::MakeRegion;
using testing::MakeWorkOutput;

TEST(Output, TakesItsNamesFromTheReferenceRegion) {
  const NxRef<NxRegionObject> reference = MakeRegion("page");
  const NxTaskOutput output(MakeRegion("line"), reference, "read", TT_ATOMIC_2, false, 1);
  EXPECT_EQ(output.GetTargetROIName(), "page");
  EXPECT_EQ(output.GetTaskFullName(), "{page}[read]");
  EXPECT_EQ(output.GetFinishFlag()->GetTaskFullName(), "{page}[read]");
  const std::string hashed = "{page}[read]" + reference->GetRegionHashId();
  EXPECT_EQ(output.GetHashId(), NxHashAlgorithm::Generate_BKDRHash(
                                    hashed.data(), static_cast<unsigned>(hashed.size())));
}

TEST(Output, BecomesTheReferenceOfTheRegionsItCollects) {
  const NxRef<NxRegionObject> page = MakeRegion("page");
  const NxRef<NxRegionObject> line = MakeRegion("line");
  NxTaskOutput output(page, MakeRegion("column"), "read", TT_ATOMIC_0, true, 2);
  line->SetReferenceRegion(new Asking<NxRegionObject>([&] { output.GetResultCount(); }));
  const NxRef<NxTaskOutputAtomResult> results[] = {nullptr, new NxTaskOutputAtomResult,
                                                   new NxTaskOutputAtomResult(line),
                                                   new NxTaskOutputAtomResult(page)};
  for (const auto& result : results) output.AddResult(result);
  EXPECT_EQ(line->GetReferenceRegion(), page);
  EXPECT_EQ(page->GetReferenceRegion(), nullptr) << "no region is its own reference";
  for (int i = 0; i < 4; ++i) EXPECT_EQ(output.GetResult(i), results[i]);
  EXPECT_TRUE(output.AlreadyExistObject(line.get()));
  EXPECT_FALSE(output.AlreadyExistObject(MakeRegion("line").get()));
  EXPECT_FALSE(output.AlreadyExistObject(nullptr));

  const NxTaskOutput split(line, MakeRegion("word"), "split", TT_ATOMIC_0, true, 2);
  EXPECT_EQ(split.GetReferenceRegionByTargetName("page"), page);
  EXPECT_EQ(split.GetReferenceRegionByTargetName("line"), nullptr);
}

TEST(Output, MarksTheFlagEachTimeItIsFinished) {
  class Counting : public NxOutputBase {
   public:
    using NxOutputBase::NxOutputBase;
    void MarkAsFinish() override { ++marks; }
    int marks = 0;
  };
  Counting output(nullptr, MakeRegion("page"), "read", TT_ATOMIC_0);
  for (const auto status : {TOS_WORK_ENDED, TOS_FINISHED, TOS_FINISHED, TOS_NO_RESULT}) {
    output.SetResultStatus(status);
    EXPECT_EQ(output.GetResultStatus(), status);
  }
  EXPECT_EQ(output.marks, 2);
}

// However many threads end the work, one does; and none does once the output is finished.
TEST(Output, EndsItsWorkOnce) {
  const NxRef<NxRegionObject> region = MakeRegion("page");
  std::deque<NxOutputBase> outputs;
  for (int i = 0; i < 5000; ++i) outputs.emplace_back(region, region, "read", TT_ATOMIC_0);
  std::atomic<int> enders{0};
  std::atomic<std::size_t> arrivals{0};
  testing::RunTogether(3, [&](int thread) {
    for (std::size_t i = 0; i < outputs.size(); ++i) {
      for (++arrivals; arrivals < 3 * (i + 1);) std::this_thread::yield();
      if (thread == 2 && i % 2 == 0) outputs[i].SetResultStatus(TOS_FINISHED);
      if (outputs[i].EndWork()) ++enders;
    }
  });
  int results = 0;
  for (std::size_t i = 0; i < outputs.size(); ++i) {
    const bool isFinished = i % 2 == 0;
    ASSERT_EQ(outputs[i].GetResultStatus(), isFinished ? TOS_FINISHED : TOS_WORK_ENDED);
    const int count = outputs[i].GetResultCount();
    ASSERT_TRUE(count == 1 || (isFinished && count == 0)) << count;
    results += count;
  }
  EXPECT_EQ(results, enders) << "who ends the work adds its one empty result";
}

TEST(TaskOutput, IgnoresWorkOutsideItsModes) {
  const NxRef<NxRegionObject> region = MakeRegion("page");
  const NxRef<NxWorkOutput> work = MakeWorkOutput(region, "fast");
  for (const int modesCount : {2, -3}) {
    NxTaskOutput output(region, region, "read", TT_ATOMIC_0, true, modesCount);
    for (const int mode : {-1, 0, 1, 1, 2}) {
      output.AddWorkOutput(mode, work);
      output.GetWorkTable()->AppendNextWorkOutput(0, mode, work);
    }
    const NxTaskOutput::WorkOutputs perMode = {{work}, {work, work}};
    EXPECT_EQ(output.GetWorkOutputs(), modesCount < 0 ? NxTaskOutput::WorkOutputs() : perMode);
    int count = 0;
    while (output.GetWorkTable()->GetNextTopPriorityWorkOutput("")) ++count;
    EXPECT_EQ(count, modesCount < 0 ? 0 : 3);
  }
}

TEST(TaskOutput, ReplacesTheSuspendTokenOutsideItsLock) {
  NxTaskOutput output(nullptr, MakeRegion("page"), "read", TT_ATOMIC_0, true, 1);
  const auto readToken = [&output] {
    NxRef<ThreadSuspendToken> current;
    output.GetThreadSuspendToken(current);
    return current;
  };
  for (int i = 0; i < 2; ++i)
    output.SetThreadSuspendToken(new Asking<ThreadSuspendToken>(readToken));
  const NxRef<ThreadSuspendToken> token = new ThreadSuspendToken;
  output.SetThreadSuspendToken(token);
  EXPECT_EQ(readToken(), token);
  NxRef<ThreadSuspendToken> replaced = new Asking<ThreadSuspendToken>(readToken);
  output.GetThreadSuspendToken(replaced);
  EXPECT_EQ(replaced, token);
}

TEST(SectionResultsCache, MakesAnAbsentSection) {
  NxSectionResultsCache cache;
  const auto section = static_cast<SectionType>(7);
  EXPECT_TRUE(cache.GetResults(section).empty());
  EXPECT_EQ(cache.GetAllSectionResults().count(section), 1U);
  cache.PushBackResult(section, nullptr);
  cache.SetResults(section, cache.GetResults(section));
  cache.PushBackAuxiliaryResult(section, nullptr);
  EXPECT_EQ(cache.GetResults(section).size(), 1U);
}

TEST(ROIDefOutput, FindsTheFirstOutputOfATask) {
  const NxRef<NxRegionObject> region = MakeRegion("page");
  NxROIDefOutput output(MakeRegion("line"), region, nullptr);
  output.AddTaskOutput(nullptr);
  for (const char* name : {"read", "check", "read"}) {
    output.AddTaskOutput(new NxTaskOutput(region, region, name, TT_ATOMIC_0, true, 1));
  }
  EXPECT_EQ(output.GetTargetROIName(), "page");
  const NxROIDefOutput copy(output);
  EXPECT_EQ(copy.GetTaskOutputByTaskName("read"), output.GetTaskOutput(1));
  EXPECT_EQ(copy.GetTaskOutputByTaskName("rea"), nullptr);
}

}  // namespace
}  // namespace velmora
