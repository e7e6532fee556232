#include "velmora/engine/work_output.h"

#include <utility>

#include "velmora/engine/internal/work_output_memory.h"
#include "velmora/region/region_object.h"

namespace velmora {

NxWorkOutput::NxWorkOutput(NxTaskOutput* task, NxSectionResultsCache* cache,
                           NxRef<NxRegionObject> region, NxRef<NxRegionObject> reference,
                           const std::string& name, TaskType type, Nx_WorkObjectBase* work,
                           const std::string& workMode)
    : NxOutputBase(std::move(region), std::move(reference), name, type),
      workMode_(workMode),
      workObject_(work),
      sectionCache_(cache),
      taskOutput_(task) {}

NxWorkOutput::~NxWorkOutput() = default;

void* NxWorkOutput::operator new(std::size_t size) {
  return size == sizeof(NxWorkOutput) ? internal::AllocateWorkOutput() : ::operator new(size);
}

void NxWorkOutput::operator delete(void* memory, std::size_t size) noexcept {
  if (size == sizeof(NxWorkOutput)) {
    internal::FreeWorkOutput(memory);
  } else {
    ::operator delete(memory);
  }
}

void* NxWorkOutput::operator new(std::size_t size, std::align_val_t alignment) {
  return ::operator new(size, alignment);
}

void NxWorkOutput::operator delete(void* memory, std::align_val_t alignment) noexcept {
  ::operator delete(memory, alignment);
}

NxWorkOutputAtom::NxWorkOutputAtom(NxRef<NxWorkOutput> work, int level, int mode, int slot)
    : work_(std::move(work)), level_(level), mode_(mode), slot_(slot) {}

}  // namespace velmora
