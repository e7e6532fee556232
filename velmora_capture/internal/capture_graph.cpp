#include "velmora_capture/internal/capture_graph.h"

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
  const std::uint64_t imageId = job->source->GetImageId();
  bool isDone = false;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    ImageJob& added = *(jobs_[imageId] = std::move(job));
    static_cast<CaptureDefinition*>(GetBeginNode())->Start(added);
    isDone = MoveIfDone(imageId);
  }
  if (isDone) semaphore->Produce();
  return EC_Ok;
}

void CaptureGraph::Advance(std::uint64_t imageId, NxTaskOutput* task) {
  NxSemaphore* semaphore = nullptr;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto at = jobs_.find(imageId);
    if (at == jobs_.end()) return;
    semaphore = at->second->semaphore;
    const TaskRun& run = at->second->tasks.at(task);
    run.definition->Advance(*run.output, *at->second);
    if (!MoveIfDone(imageId)) return;
  }
  // Without the lock, which whoever wakes up takes first.
  semaphore->Produce();
}

bool CaptureGraph::MoveIfDone(std::uint64_t imageId) {
  const auto at = jobs_.find(imageId);
  if (!at->second->isDone) return false;
  done_.push_back(std::move(at->second));
  jobs_.erase(at);
  return true;
}

std::vector<std::unique_ptr<ImageJob>> CaptureGraph::TakeDone() {
  const std::lock_guard<std::mutex> lock(mutex_);
  return std::exchange(done_, {});
}

std::size_t CaptureGraph::GetJobCount() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return jobs_.size() + done_.size();
}

}  // namespace velmora::capture
