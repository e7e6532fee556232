/// @file
/// One target ROI definition: a node of the dependency graph.
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "velmora/engine/target_roi_def_event.h"
#include "velmora/engine/target_roi_def_setting.h"
#include "velmora/foundation/object_base.h"
#include "velmora/foundation/ref.h"
#include "velmora/platform/export.h"

namespace velmora {

class NxDataManagerPool;
class NxDependencyGraph;
class NxRegionObject;
class NxROIDefOutput;
class NxSemaphore;
class ThreadPoolBase;

/// What a definition tells the receivers of intermediate results about itself. The driving module
/// gives the members their meaning; this library only zeroes and copies them.
struct IntermediateResultExtraInfo {
  std::uint32_t word0 = 0;
  std::uint32_t word1 = 0;
  bool flag = false;
  std::uint32_t word2 = 0;
};

/// A kind of region that the pipeline produces, with the tasks that run on its regions.
///
/// Parents, children, listeners and the graph are not owned. The graph keeps its nodes alive
/// together, so a node that is held longer than its graph must not follow these pointers. The
/// concrete definitions belong to the module that drives the capture.
///
/// @threadsafety built, linked and activated on the thread that loads the template, before work
///               starts; read-only afterwards
class VELMORA_EXPORT NxTargetROIDef : public NxObjectBase, public TargetROIDefEventListener {
 public:
  NxTargetROIDef();
  /// Copies setting, priority level, extra info, parents, children and listeners. The copy belongs
  /// to no graph, and the nodes around it do not know it.
  NxTargetROIDef(const NxTargetROIDef& other);
  /// Copies the same members; this node keeps its graph.
  NxTargetROIDef& operator=(const NxTargetROIDef& other);
  ~NxTargetROIDef() override;

  /// Makes the outputs of the activated tasks for @p region, found in @p reference.
  /// @param semaphore for the work items of the tasks, each of which produces it once; not owned
  virtual NxRef<NxROIDefOutput> CreateROIDefOutput(const NxRef<NxRegionObject>& region,
                                                   const NxRef<NxRegionObject>& reference,
                                                   NxSemaphore* semaphore) = 0;

  /// Splits the tasks of @p output into work and queues the work items on @p pool.
  virtual void AppendWorkItems(NxROIDefOutput* output, ThreadPoolBase* pool) = 0;

  /// @return true once every task of @p output has finished
  virtual bool IsROIDefOutputFinished(NxROIDefOutput* output) = 0;

  /// Drops what must not be passed on from a finished @p output. Does nothing here.
  virtual void FilterROIDefOutput(NxROIDefOutput* output);

  /// Hands a finished and filtered @p output on to the listeners.
  virtual void DispatchROIDefOutput(NxROIDefOutput* output) = 0;

  TargetROIDefSetting* GetTargetDefSetting() { return &setting_; }
  const TargetROIDefSetting* GetTargetDefSetting() const { return &setting_; }

  const IntermediateResultExtraInfo* GetIntermediateResultExtraInfo() const { return &extraInfo_; }
  void SetIntermediateResultExtraInfo(const IntermediateResultExtraInfo& info) {
    extraInfo_ = info;
  }

  int GetPriorityLevel() const { return priorityLevel_; }
  void SetPriorityLevel(int level) { priorityLevel_ = level; }

  /// Set by whoever builds the graph; adding a node to a graph does not.
  void SetGraph(NxDependencyGraph* graph) { graph_ = graph; }
  NxDependencyGraph* GetGraph() const { return graph_; }
  /// @return the graph's manager pool; the graph must be set
  NxDataManagerPool* GetManagerPool() const;

  const std::vector<NxTargetROIDef*>& GetParentDefNodes() const { return parents_; }
  const std::vector<NxTargetROIDef*>& GetChildDefNodes() const { return children_; }
  const std::vector<TargetROIDefEventListener*>& GetListeners() const { return listeners_; }

  /// Link this node and another, both ways, without registering a listener. Duplicates are not
  /// looked for.
  void AddParentDefNode(NxTargetROIDef* parent);
  void AddChildDefNode(NxTargetROIDef* child);

  /// Appends @p listener unless it is registered already.
  void RegisterListener(TargetROIDefEventListener* listener);

  /// Activates every task and output task.
  void ActivateAllTask();

  /// Activates the tasks and output tasks that are named.
  void ActivateCertainTasks(const std::set<std::string>& names);

  /// Activates the named tasks of an atomic type whose flag is set, and the named output tasks
  /// whatever their type: output tasks that a caller names always run.
  /// @param flags three, for the task types 0, 1 and 2
  void ActivateTaskByNameArrayAndAtomicTypeFlag(const std::vector<std::string>& names, bool* flags);

 protected:
  /// Replaces the parents, then makes this node a child and a listener of each. It becomes a child
  /// once more with every call, a listener once.
  void SetParentDefNodes(const std::vector<NxTargetROIDef*>& parents);

 private:
  [[maybe_unused]] void* reserved_ = nullptr;  // the driving module's; never read here
  NxDependencyGraph* graph_ = nullptr;
  TargetROIDefSetting setting_;
  std::int32_t priorityLevel_ = 0;
  IntermediateResultExtraInfo extraInfo_;
  std::vector<NxTargetROIDef*> parents_;
  std::vector<NxTargetROIDef*> children_;
  std::vector<TargetROIDefEventListener*> listeners_;
};

}  // namespace velmora
