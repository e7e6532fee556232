/// @file
/// The output of one work object inside a task.
#pragma once

#include <cstddef>
#include <new>
#include <string>

#include "velmora/engine/output_base.h"
#include "velmora/foundation/object_base.h"
#include "velmora/foundation/ref.h"
#include "velmora/platform/export.h"

namespace velmora {

class NxTaskOutput;
struct NxSectionResultsCache;

/// A piece of a task, to be done by one work object in one work mode, and the record of what it
/// found.
///
/// The task output, its section cache and the work object are not owned: they outlive the work.
///
/// @threadsafety as `NxOutputBase`
class VELMORA_EXPORT NxWorkOutput : public NxOutputBase {
 public:
  NxWorkOutput(NxTaskOutput* task, NxSectionResultsCache* cache, NxRef<NxRegionObject> region,
               NxRef<NxRegionObject> reference, const std::string& name, TaskType type,
               Nx_WorkObjectBase* work, const std::string& workMode);
  ~NxWorkOutput() override;

  /// Work outputs that are made one after another share their memory: it is freed with the last of
  /// them. Those of derived classes have memory of their own.
  static void* operator new(std::size_t size);
  static void operator delete(void* memory, std::size_t size) noexcept;
  /// For derived classes that ask for more than the usual alignment; without these they would get
  /// the one above.
  static void* operator new(std::size_t size, std::align_val_t alignment);
  static void operator delete(void* memory, std::align_val_t alignment) noexcept;

  const std::string& GetWorkMode() const { return workMode_; }
  Nx_WorkObjectBase* GetWorkObject() const { return workObject_; }
  NxSectionResultsCache* GetSectionCache() const { return sectionCache_; }
  NxTaskOutput* GetTaskOutput() const { return taskOutput_; }

 private:
  const std::string workMode_;
  Nx_WorkObjectBase* const workObject_;
  NxSectionResultsCache* const sectionCache_;
  NxTaskOutput* const taskOutput_;
};

/// One unit of pending work: a work output and its place in a work output table. Copies share the
/// work output.
///
/// @threadsafety immutable, but for assignment
class VELMORA_EXPORT NxWorkOutputAtom : public NxObjectBase {
 public:
  NxWorkOutputAtom(NxRef<NxWorkOutput> work, int level, int mode, int slot);

  const NxRef<NxWorkOutput>& GetWorkOutput() const { return work_; }
  int GetLevel() const { return level_; }  ///< priority level, 0 the most urgent
  int GetMode() const { return mode_; }    ///< index of the work-mode list within the level
  int GetSlot() const { return slot_; }    ///< index of the slot within the list

 private:
  NxRef<NxWorkOutput> work_;
  int level_;
  int mode_;
  int slot_;
};

}  // namespace velmora
