#include "examples/capture/capture_graph.h"

#include <utility>

#include "velmora/foundation/error_code.h"

namespace velmora::capture {
namespace {

// Braces are not allowed in the names of a template.
constexpr char kBeginName[] = "{begin}";
constexpr char kEndName[] = "{end}";

}  // namespace

CaptureGraph::CaptureGraph() {
  SetBeginNode(AddDefinition(kBeginName));
  SetEndNode(AddDefinition(kEndName));
  definitions_.clear();
}

CaptureDefinition* CaptureGraph::AddDefinition(const std::string& name) {
  auto* definition = new CaptureDefinition(name);
  AddTargetROIDefNode(name, definition);
  definition->SetGraph(this);
  definitions_.push_back(definition);
  return definition;
}

void CaptureGraph::Link(const std::map<std::string, std::vector<std::string>>& parents) {
  for (CaptureDefinition* definition : definitions_) {
    std::vector<NxTargetROIDef*> nodes;
    for (const std::string& name : parents.at(definition->GetName()))
      nodes.push_back(GetTargetDefNodesMap().at(name).get());
    if (nodes.empty()) nodes.push_back(GetBeginNode());
    definition->SetParents(nodes);
  }
  std::vector<NxTargetROIDef*> last;
  for (CaptureDefinition* definition : definitions_)
    if (definition->GetChildDefNodes().empty()) last.push_back(definition);
  static_cast<CaptureDefinition*>(GetEndNode())->SetParents(last);
}

int CaptureGraph::Run(const NxRef<NxRegionObject>& wholeImage, ThreadPoolBase* pool,
                      NxSemaphore* semaphore) {
  if (!wholeImage || !wholeImage->GetSourceImageObject()) return EC_NullPointer;
  auto job = std::make_unique<ImageJob>();
  job->source = wholeImage->GetSourceImageObject();
  job->wholeImage = wholeImage;
  job->pool = pool;
  job->semaphore = semaphore;
  for (const auto& [name, node] : GetTargetDefNodesMap()) {
    DefinitionRun& run = job->definitions[static_cast<CaptureDefinition*>(node.get())];
    run.parentsLeft = node->GetParentDefNodes().size();
  }
  ImageJob& added = *(jobs_[job->source.get()] = std::move(job));
  static_cast<CaptureDefinition*>(GetBeginNode())->Start(added);
  return EC_Ok;
}

std::vector<std::unique_ptr<ImageJob>> CaptureGraph::Advance() {
  std::vector<std::unique_ptr<ImageJob>> done;
  for (auto at = jobs_.begin(); at != jobs_.end();) {
    for (CaptureDefinition* definition : definitions_) definition->Advance(*at->second);
    if (at->second->isDone) {
      done.push_back(std::move(at->second));
      at = jobs_.erase(at);
    } else {
      ++at;
    }
  }
  return done;
}

}  // namespace velmora::capture
