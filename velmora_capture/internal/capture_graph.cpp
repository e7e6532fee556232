#include "velmora_capture/internal/capture_graph.h"

#include <utility>

#include "velmora/engine/work_object_base.h"
#include "velmora/foundation/error_code.h"

namespace velmora::capture {
namespace {

// Braces are not allowed in the names of a template.
constexpr char kBeginName[] = "{begin}";
constexpr char kEndName[] = "{end}";

// The owner of a job that is waited for with a semaphore: lives until then.
class SemaphoreOwner final : public JobOwner {
 public:
  explicit SemaphoreOwner(NxSemaphore* semaphore) : semaphore_(semaphore) {}
  void OnJobDone(CaptureJob&) noexcept override {
    const std::unique_ptr<SemaphoreOwner> self(this);
    if (semaphore_ != nullptr) semaphore_->Produce();
  }

 private:
  NxSemaphore* semaphore_;
};

}  // namespace

CaptureGraph::CaptureGraph() {
  SetBeginNode(AddDefinition(kBeginName));
  SetEndNode(AddDefinition(kEndName));
  definitions_.clear();
}

CaptureGraph::~CaptureGraph() = default;

CaptureDefinition* CaptureGraph::AddDefinition(const std::string& name) {
  const auto definition = MakeRef<CaptureDefinition>(name, GetTargetDefNodesMap().size());
  AddTargetROIDefNode(name, definition.get());
  definition->SetGraph(this);
  definitions_.push_back(definition.get());
  return definition.get();
}

void CaptureGraph::Link(const std::map<std::string, std::vector<std::string>>& parents) {
  for (CaptureDefinition* definition : definitions_) {
    std::vector<NxTargetROIDef*> nodes;
    for (const std::string& name : parents.at(definition->GetName())) {
      nodes.push_back(GetTargetDefNodesMap().at(name).get());
    }
    if (nodes.empty()) nodes.push_back(GetBeginNode());
    definition->SetParents(nodes);
    definition->Prepare();
  }
  std::vector<NxTargetROIDef*> last;
  for (CaptureDefinition* definition : definitions_) {
    if (definition->GetChildDefNodes().empty()) last.push_back(definition);
  }
  static_cast<CaptureDefinition*>(GetEndNode())->SetParents(last);
}

int CaptureGraph::Run(const NxRef<NxRegionObject>& wholeImage, ThreadPoolBase* pool,
                      NxSemaphore* semaphore) {
  if (!wholeImage || !wholeImage->GetSourceImageObject() || pool == nullptr) return EC_NullPointer;
  auto owner = std::make_unique<SemaphoreOwner>(semaphore);
  const NxRef<CaptureJob> job = new CaptureJob(*this, wholeImage, pool, *owner);
  owner.release();  // NOLINT(bugprone-unused-return-value): the end of the job destroys it
  job->Start();
  return EC_Ok;
}

void CaptureGraph::Begin(CaptureJob& job) {
  for (const auto& [name, node] : GetTargetDefNodesMap()) {
    const auto& definition = static_cast<const CaptureDefinition&>(*node);
    job.definitions[definition.GetIndex()].parentsLeft = node->GetParentDefNodes().size();
  }
  static_cast<CaptureDefinition*>(GetBeginNode())->Start(job);
}

Turn* CaptureGraph::FindTurn(const Nx_WorkObjectBase& work) {
  if (!work.IsSingleThread()) return nullptr;
  const MutexLock lock(mutex_);
  std::unique_ptr<Turn>& turn = turns_[&work];
  if (turn == nullptr) turn = std::make_unique<Turn>();
  return turn.get();
}

const char* CaptureGraph::KeepName(const std::string& name) {
  const MutexLock lock(mutex_);
  return names_.insert(name).first->c_str();
}

}  // namespace velmora::capture
