/// @file
/// The output of one task on one region.
#pragma once

#include <string>
#include <vector>

#include "velmora/engine/output_base.h"
#include "velmora/engine/section_results_cache.h"
#include "velmora/foundation/ref.h"
#include "velmora/platform/export.h"
#include "velmora/platform/mutex.h"

namespace velmora {

class NxDependencyFinishFlag;
class NxWorkOutput;
class NxWorkOutputTable;
class ThreadSuspendToken;

/// Created when a task is scheduled for a region. Its pending work waits in the work table, by
/// priority; its results collect in the base; setting its status to `TOS_FINISHED` marks its finish
/// flag, on which other outputs wait.
///
/// Work outputs point back at their task output and its section cache without owning it: keep it
/// until its work has ended, or drop its table's work with it.
///
/// @threadsafety work outputs, the token, the work table and what `NxOutputBase` promises from any
///               thread. The remaining work, the filter lists, the results as item and the section
///               cache are unguarded; their callers take turns.
class VELMORA_EXPORT NxTaskOutput : public NxOutputBase {
 public:
  using Regions = std::vector<NxRef<NxRegionObject>>;
  using WorkOutputs = std::vector<std::vector<NxRef<NxWorkOutput>>>;
  using RemainWork = std::vector<NxRef<NxWorkOutputAtom>>;

  /// @param region, reference, name, type  as for `NxOutputBase`
  /// @param needFilter      whether the results are to be filtered
  /// @param workModesCount  how many lists of work outputs there are, and how many each level of
  ///                        the work table gets; negative counts as 0
  NxTaskOutput(NxRef<NxRegionObject> region, NxRef<NxRegionObject> reference,
               const std::string& name, TaskType type, bool needFilter, int workModesCount);
  ~NxTaskOutput() override;

  /// Marks the finish flag.
  void MarkAsFinish() override;

  /// The flag of this output, named by the task's full name.
  const NxRef<NxDependencyFinishFlag>& GetFinishFlag() const { return finishFlag_; }

  NxRef<NxWorkOutputTable>& GetWorkTable() { return workTable_; }

  const RemainWork& GetRemainWork() const { return remainWork_; }
  void SetRemainWork(const RemainWork& work);

  /// Appends @p work to list @p mode; an index out of range is ignored.
  void AddWorkOutput(int mode, NxRef<NxWorkOutput> work);
  /// The lists themselves: read them while nobody adds.
  const WorkOutputs& GetWorkOutputs() const { return workOutputs_; }

  /// The nearest region among those that this output's region was found in, one in the other, that
  /// the definition @p name produced.
  /// @return the reference through which it is held; an empty one if there is none
  const NxRef<NxRegionObject>& GetReferenceRegionByTargetName(const std::string& name) const;

  bool IsNeedFilter() const { return needFilter_; }
  const Regions& GetResultsToFilter() const { return resultsToFilter_; }
  void SetResultsToFilter(const Regions& regions);
  void CleanResultsToFilter();

  const Regions& GetResultsAsItem() const { return resultsAsItem_; }
  void AppendResultsAsItem(NxRef<NxRegionObject> region);
  void CleanResultsAsItem();

  NxSectionResultsCache* GetSectionCache() { return &sectionCache_; }

  /// The token that was set last; it replaces what @p out holds.
  void GetThreadSuspendToken(NxRef<ThreadSuspendToken>& out);
  void SetThreadSuspendToken(NxRef<ThreadSuspendToken> token);

 private:
  const NxRef<NxDependencyFinishFlag> finishFlag_;
  const bool needFilter_;
  Regions resultsToFilter_;
  Regions resultsAsItem_;
  NxSectionResultsCache sectionCache_;
  NxRef<NxWorkOutputTable> workTable_;
  RemainWork remainWork_;
  Mutex workMutex_;
  NxRef<ThreadSuspendToken> suspendToken_ VELMORA_GUARDED_BY(workMutex_);
  WorkOutputs workOutputs_ VELMORA_GUARDED_BY(workMutex_);
};

}  // namespace velmora
