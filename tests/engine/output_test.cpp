#include "tests/engine/engine_objects.h"

namespace velmora {
namespace {

using testing::Asking;
using testing::CallTogether;
using testing::MakeRegion;
using testing::MakeWorkOutput;

TEST(Output, TakesItsNamesFromTheReferenceRegion) {
  const NxRef<NxRegionObject> reference = MakeRegion("page");
  const NxTaskOutput output(MakeRegion("line"), reference, "read", TT_ATOMIC_2, false, 1);
  EXPECT_EQ(output.GetTargetROIName(), "page");
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
  output.AddResult(nullptr);
  for (const auto& region : {NxRef<NxRegionObject>(), line, page}) {
    output.AddResult(new NxTaskOutputAtomResult(region));
  }
  EXPECT_EQ(line->GetReferenceRegion(), page);
  EXPECT_EQ(page->GetReferenceRegion(), nullptr) << "no region is its own reference";
  EXPECT_EQ(output.GetResult(3)->GetRegion(), page);
  EXPECT_TRUE(output.AlreadyExistObject(line.get()));
  EXPECT_FALSE(output.AlreadyExistObject(MakeRegion("line").get()));
  EXPECT_FALSE(output.AlreadyExistObject(nullptr));

  NxTaskOutput split(line, MakeRegion("word"), "split", TT_ATOMIC_0, true, 2);
  split.AddResult(new NxTaskOutputAtomResult(page));
  EXPECT_EQ(page->GetReferenceRegion(), nullptr) << "no region is found in what was found in it";
  EXPECT_TRUE(split.AlreadyExistObject(page.get()));
  EXPECT_EQ(split.GetReferenceRegionByTargetName("page"), page);
  EXPECT_EQ(split.GetReferenceRegionByTargetName("line"), nullptr);
}

TEST(Output, MarksTheFlagEachTimeItIsFinished) {
  struct Counting : NxOutputBase {
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
  NxTaskOutput task(nullptr, MakeRegion("page"), "read", TT_ATOMIC_0, false, 1);
  task.SetResultStatus(TOS_FINISHED);
  EXPECT_TRUE(task.GetFinishFlag()->IsFinished());
  const NxTaskOutput::RemainWork rest = {new NxWorkOutputAtom(nullptr, 1, 2, 3), nullptr};
  task.SetRemainWork(rest);
  EXPECT_EQ(task.GetRemainWork(), rest);
}

// However many threads end the work, one does.
TEST(Output, EndsItsWorkOnce) {
  std::deque<NxOutputBase> outputs;
  for (int i = 0; i < 5000; ++i) outputs.emplace_back(nullptr, MakeRegion("page"), "", TT_ATOMIC_0);
  std::atomic<std::size_t> enders{0};
  testing::Lockstep lockstep(2);
  testing::RunTogether(2, [&](int) {
    for (std::size_t i = 0; i < outputs.size(); ++i) {
      lockstep.Enter(static_cast<int>(i));
      if (outputs[i].EndWork()) ++enders;
    }
  });
  EXPECT_EQ(enders, outputs.size());
  for (const NxOutputBase& output : outputs) ASSERT_EQ(output.GetResultCount(), 1);
}

// Work outputs share memory; they are destroyed on other threads than they were made on.
TEST(WorkOutput, KeepsItsMemoryWhenItsNeighboursAreDestroyed) {
  constexpr int kThreads = 9;
  constexpr std::size_t kEach = 70;
  const NxRef<NxRegionObject> region = MakeRegion("page");
  std::vector<NxRef<NxWorkOutput>> works(kThreads * kEach);
  const auto make = [&](std::size_t i) { works[i] = MakeWorkOutput(region, std::to_string(i)); };
  testing::RunTogether(kThreads, [&](int thread) {
    for (auto i = static_cast<std::size_t>(thread); i < works.size(); i += kThreads) make(i);
  });
  testing::RunTogether(kThreads, [&](int thread) {
    for (std::size_t i = 0; i < kEach; ++i) {
      const std::size_t index = static_cast<std::size_t>(thread) * kEach + i;
      if (index % 5 == 0) works[index].reset();
    }
  });
  for (std::size_t i = 0; i < works.size(); i += 5) make(i);
  for (std::size_t i = 0; i < works.size(); ++i) {
    EXPECT_EQ(works[i]->GetWorkMode(), std::to_string(i));
  }
}

template <std::size_t kAlignment>
struct alignas(kAlignment) AlignedWork : NxWorkOutput {
  using NxWorkOutput::NxWorkOutput;
};

// The lesser one is what the heap gives anyway.
TEST(WorkOutput, OfADerivedClassIsAlignedAsThatAsks) {
  std::vector<NxRef<NxWorkOutput>> works;
  const auto expectAligned = [&](NxWorkOutput* made, std::size_t to) {
    works.emplace_back(made);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(made) % to, 0u) << to;
  };
  constexpr std::size_t kHeap = 2 * sizeof(void*);
  const auto page = MakeRegion("page");
  for (int i = 0; i < 9; ++i) {
    expectAligned(new AlignedWork<kHeap>({}, {}, page, page, "", TT_ATOMIC_0, {}, ""), kHeap);
    expectAligned(new AlignedWork<256>({}, {}, page, page, "", TT_ATOMIC_0, {}, ""), 256);
  }
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
    EXPECT_EQ(output.GetWorkTable()->HasNextWorkOutput(), modesCount > 0);
  }
}

TEST(TaskOutput, ReplacesTheSuspendTokenOutsideItsLock) {
  NxTaskOutput output(nullptr, MakeRegion("page"), "read", TT_ATOMIC_0, true, 1);
  const auto readToken = [&output] {
    NxRef<ThreadSuspendToken> current;
    output.GetThreadSuspendToken(current);
    return current;
  };
  output.SetThreadSuspendToken(new Asking<ThreadSuspendToken>(readToken));
  const NxRef<ThreadSuspendToken> token = new ThreadSuspendToken;
  output.SetThreadSuspendToken(token);
  NxRef<ThreadSuspendToken> replaced = new Asking<ThreadSuspendToken>(readToken);
  output.GetThreadSuspendToken(replaced);
  EXPECT_EQ(replaced, token);
}

TEST(ROIDefOutput, FindsTheFirstOutputOfATask) {
  const NxRef<NxRegionObject> region = MakeRegion("page");
  NxROIDefOutput output(MakeRegion("line"), region, nullptr);
  output.AddTaskOutput(nullptr);
  for (const char* name : {"read", "check", "read"}) {
    output.AddTaskOutput(new NxTaskOutput(region, region, name, TT_ATOMIC_0, true, 1));
  }
  const NxROIDefOutput copy(output);
  EXPECT_EQ(copy.GetTaskOutputByTaskName("read"), output.GetTaskOutput(1));
  EXPECT_EQ(copy.GetTaskOutputByTaskName("rea"), nullptr);
  EXPECT_EQ(copy.GetTargetROIName(), "page");
}

TEST(SectionResultsCache, KeepsTwoListsASection) {
  const NxRef<NxRegionObject> a = MakeRegion("a"), b = MakeRegion("b");
  const auto early = SectionType(-1), late = SectionType(2), absent = SectionType(3);
  NxSectionResultsCache cache;
  for (const auto& region : {a, b}) cache.PushBackResult(late, region);
  for (const auto& region : {b, b, a}) cache.PushBackAuxiliaryResult(late, region);
  cache.PushBackResult(early, a);
  cache.SetResults(early, {b, a});
  EXPECT_EQ(cache.GetResults(late), (NxSectionResultsCache::Regions{a, b}));
  EXPECT_EQ(cache.GetAuxiliaryResults(late), (NxSectionResultsCache::Regions{b, b, a}));
  EXPECT_TRUE(cache.GetResults(absent).empty() && cache.GetAuxiliaryResults(early).empty());
  const NxSectionResultsCache::ResultMap all = {{early, {b, a}}, {late, {a, b}}, {absent, {}}};
  EXPECT_EQ(cache.GetAllSectionResults(), all);
  const auto newLooking = [&] {  // finds no destroyed region in the list that it leaves
    return new Asking<NxRegionObject>([&] {
      for (const auto& each : cache.GetResults(late)) EXPECT_GT(each->GetReferenceCount(), 0);
    });
  };
  cache.SetResults(late, {newLooking(), newLooking()});
  cache.SetResults(late, {a});
}

TEST(DependencyFinishFlag, FilesChildrenByTaskFullName) {
  NxDependencyFinishFlag flag("{page}[read]");
  const auto& absent = flag.GetChildFlags("{page}[read]");
  const NxRef<NxDependencyFinishFlag> child = new NxDependencyFinishFlag("{code}[check]");
  for (int i = 0; i < 2; ++i) flag.AddChildFlag(child);
  EXPECT_EQ(flag.GetChildFlags("{code}[check]").size(), 2U);
  flag.AddChildFlag(new NxDependencyFinishFlag("{page}[read]"));
  EXPECT_EQ(absent.size(), 1U) << "asking made the entry";
}

TEST(DependencyFinishFlag, CallsBackForEachRelatedOutputOnceInAddressOrder) {
  static char places[8];       // stand for outputs by their addresses; the flag never follows them
  static std::string visited;  // the places that the flag called back for
  const auto place = [](int index) { return reinterpret_cast<NxTaskOutput*>(&places[index]); };
  const auto visit = [](NxTaskOutput* output, TargetROIDefEvent* /*event*/) {
    visited += std::to_string(reinterpret_cast<char*>(output) - places);
  };
  NxDependencyFinishFlag flag("{page}[read]");
  for (const int index : {5, 1, 7, 1, 5}) flag.AddRelatedOutputTask(place(index));
  flag.LoopAllRelatedOutputTasks(visit, nullptr);
  flag.RemoveAllRelatedOutputTasks(place(3));  // never added: all go all the same
  flag.LoopAllRelatedOutputTasks(visit, nullptr);
  EXPECT_EQ(visited, "157");
}

// The callback runs under the lock: it counts without one.
TEST(DependencyFinishFlag, Locks) {
  NxDependencyFinishFlag flag("{page}[read]");
  static int calls = 0;
  const auto count = [](NxTaskOutput*, TargetROIDefEvent*) { ++calls; };
  const std::function<void()> loop = [&] { flag.LoopAllRelatedOutputTasks(count, nullptr); };
  const std::function<void()> add = [&] { flag.AddRelatedOutputTask(nullptr); };
  add();
  CallTogether({loop, loop, add});
  EXPECT_EQ(calls, 2 * testing::kCallsTogether);
  CallTogether({loop, add, [&] { flag.RemoveAllRelatedOutputTasks(nullptr); }});
  CallTogether({[&] { flag.SetFinished(); }, [&] { flag.IsFinished(); }});
}

// Of outputs and of what belongs to them.
TEST(Output, Locks) {
  const NxRef<NxRegionObject> region = MakeRegion("page");
  NxTaskOutput output(region, region, "read", TT_ATOMIC_0, false, 1);
  output.AddResult(nullptr);
  const std::function<void()> addWork = [&] { output.AddWorkOutput(0, nullptr); };
  CallTogether({[&] { output.AddResult(new NxTaskOutputAtomResult); }, [&] { output.EndWork(); },
                [&] { output.SetResultStatus(TOS_NO_RESULT); },
                [&] { EXPECT_GE(output.GetResultCount(), 1); },
                [&] { EXPECT_EQ(output.GetResult(0), nullptr); },
                [&] { EXPECT_FALSE(output.AlreadyExistObject(region.get())); },
                [&] { output.SetThreadSuspendToken(new ThreadSuspendToken); },
                [&] {
                  NxRef<ThreadSuspendToken> token;
                  output.GetThreadSuspendToken(token);
                },
                addWork, addWork});
  EXPECT_EQ(output.GetWorkOutputs()[0].size(), 2U * testing::kCallsTogether);

  ExecutableWorkItem item(&output, nullptr, nullptr, 0);
  CallTogether({[&] { item.SetWorkFinished(); }, [&] { item.IsWorkFinished(); }});

  // Few threads at a time, and each finds work: the sanitizer remembers the last accesses only.
  NxWorkOutputTable& table = *output.GetWorkTable();
  const std::function<void()> append = [&] {
    table.AppendNextWorkOutput(0, 0, MakeWorkOutput(MakeRegion("page"), "fast"));
  };
  const std::function<void()> take = [&] {
    append();
    EXPECT_NE(table.GetNextTopPriorityWorkOutput(""), nullptr);
  };
  take();
  CallTogether({append, take, [&] { table.HasNextWorkOutput(); }});
  CallTogether({take, [&] { table.GetVisitedSlotCount(); }});
  CallTogether({[&, level = 1]() mutable { table.AppendNextWorkOutput(level++, 0, nullptr); },
                [&] { table.SetAllWorkModesCount(1); }});
}

}  // namespace
}  // namespace velmora
