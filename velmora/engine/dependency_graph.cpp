#include "velmora/engine/dependency_graph.h"

#include "velmora/engine/target_roi_def.h"

namespace velmora {

NxDependencyGraph::NxDependencyGraph() = default;
NxDependencyGraph::~NxDependencyGraph() = default;

bool NxDependencyGraph::AddTargetROIDefNode(const std::string& name, NxTargetROIDef* node) {
  // No reference is taken on a refused node: dropping it again would destroy a new one.
  if (name.empty() || nodes_.find(name) != nodes_.end()) return false;
  nodeNames_.push_back(name);
  try {
    nodes_.try_emplace(name, node);
  } catch (...) {
    nodeNames_.pop_back();
    throw;
  }
  return true;
}

}  // namespace velmora
