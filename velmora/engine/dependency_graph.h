/// @file
/// A loaded template: a named graph of target ROI definitions.
#pragma once

#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "velmora/foundation/object_base.h"
#include "velmora/foundation/ref.h"
#include "velmora/platform/export.h"

namespace velmora {

class NxDataManagerPool;
class NxRegionObject;
class NxSemaphore;
class NxTargetROIDef;
class ThreadPoolBase;

/// The target ROI definitions of a template, by name. The graph keeps its nodes alive, and they
/// point at it and at each other without owning: nothing may run on them once the graph is gone.
/// The manager pool is not owned and outlives the graph.
///
/// @threadsafety built on the thread that loads the template, read-only afterwards
class VELMORA_EXPORT NxDependencyGraph : public NxObjectBase {
 public:
  using NodeMap = std::map<std::string, NxRef<NxTargetROIDef>>;

  NxDependencyGraph();
  NxDependencyGraph(const NxDependencyGraph&) = delete;
  NxDependencyGraph& operator=(const NxDependencyGraph&) = delete;
  ~NxDependencyGraph() override;

  /// Queues the work of the graph on one image. Implemented by the module that drives the capture.
  /// @param wholeImage region from which the begin node starts
  /// @param semaphore  produced when work ends; not owned
  /// @return 0 or an error code
  virtual int Run(const NxRef<NxRegionObject>& wholeImage, ThreadPoolBase* pool,
                  NxSemaphore* semaphore) = 0;

  void SetGraphName(const std::string& name) { graphName_ = name; }
  const std::string& GetName() const { return graphName_; }
  void SetManagerPool(NxDataManagerPool* pool) { managerPool_ = pool; }
  NxDataManagerPool* GetManagerPool() const { return managerPool_; }

  /// Begin and end are nodes of the graph, or null until they are set.
  void SetBeginNode(NxTargetROIDef* node) { beginNode_ = node; }
  NxTargetROIDef* GetBeginNode() const { return beginNode_; }
  void SetEndNode(NxTargetROIDef* node) { endNode_ = node; }
  NxTargetROIDef* GetEndNode() const { return endNode_; }

  /// Adds @p node (shared; null is kept as an empty reference) under @p name. The caller links it
  /// to other nodes and to the graph.
  /// @return false, with nothing changed, if @p name is empty or taken
  bool AddTargetROIDefNode(const std::string& name, NxTargetROIDef* node);

  /// In byte-wise order of the names.
  const NodeMap& GetTargetDefNodesMap() const { return nodes_; }
  /// In the order added.
  const std::vector<std::string>& GetNodeNames() const { return nodeNames_; }

 protected:
  /// For the derived graph's use; nothing here takes it.
  std::mutex mutex_;  // plain: the derived graph locks it

 private:
  NxTargetROIDef* beginNode_ = nullptr;
  NxTargetROIDef* endNode_ = nullptr;
  NxDataManagerPool* managerPool_ = nullptr;
  std::vector<std::string> nodeNames_;
  std::string graphName_;
  NodeMap nodes_;
};

}  // namespace velmora
