#include "velmora/engine/code_parser_task.h"

#include <utility>

namespace velmora {

CpxTaskObject::CpxTaskObject(const std::string& name, const std::string& setting)
    : name_(name), setting_(setting) {}

SemanticProcessor::SemanticProcessor(const std::string& name, void* context)
    : context_(context), name_(name) {}

void SemanticProcessor::AppendCpxTask(NxRef<CpxTaskObject> task) {
  tasks_.push_back(std::move(task));
}

void SemanticProcessorGroup::AppendProcessor(NxRef<SemanticProcessor> processor) {
  processors_.push_back(std::move(processor));
}

}  // namespace velmora
