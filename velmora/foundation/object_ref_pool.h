/// @file
/// References on this library's objects, held by code that has only a bare pointer.
#pragma once

#include "velmora/foundation/object_base.h"
#include "velmora/platform/export.h"

namespace velmora::basic_structures {

/// Retains and releases an object inside this library, on behalf of a module that holds a bare
/// pointer to it (a unit or an item handed out by a `RetainCache()`, say).
///
/// A stateless singleton.
///
/// @threadsafety any thread
class VELMORA_EXPORT NxObjectRefPool {
 public:
  /// @return the address of `m_instance`
  static NxObjectRefPool* GetInstance() noexcept;

  /// Adds a reference; null does nothing.
  void RetainCache(NxObjectBase* obj) noexcept;

  /// Drops a reference exactly as `NxObjectBase::release()` does; null does nothing.
  /// @throws int 4711 (`kOverReleaseError`) if @p obj has no reference left
  void ReleaseCache(NxObjectBase* obj);

  static NxObjectRefPool m_instance;  ///< the only one

 private:
  NxObjectRefPool() = default;
  NxObjectRefPool(const NxObjectRefPool&) = default;
};

}  // namespace velmora::basic_structures
