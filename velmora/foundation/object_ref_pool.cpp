#include "velmora/foundation/object_ref_pool.h"

namespace velmora::basic_structures {

NxObjectRefPool NxObjectRefPool::m_instance;

NxObjectRefPool* NxObjectRefPool::GetInstance() noexcept {
  return &m_instance;
}

void NxObjectRefPool::RetainCache(NxObjectBase* obj) noexcept {
  if (obj != nullptr) obj->retain();
}

void NxObjectRefPool::ReleaseCache(NxObjectBase* obj) {
  if (obj != nullptr) obj->release();
}

}  // namespace velmora::basic_structures
