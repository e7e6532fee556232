/// @file
/// The code-parsing stage of a template: parsing tasks, in named processors, in a group.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "velmora/foundation/object_base.h"
#include "velmora/foundation/ref.h"
#include "velmora/platform/export.h"

namespace velmora {

/// One named parsing task with its settings as text. Immutable, but for assignment.
class VELMORA_EXPORT CpxTaskObject : public NxObjectBase {
 public:
  CpxTaskObject(const std::string& name, const std::string& setting);

  const std::string& GetName() const { return name_; }
  const std::string& GetSetting() const { return setting_; }

 private:
  // Two words that the module which parses the codes may use; this library only zeroes and copies
  // them.
  [[maybe_unused]] std::int32_t reserved_[2] = {0, 0};
  std::string name_;
  std::string setting_;
};

/// A named list of parsing tasks, in the order appended.
///
/// Copies share the task objects; a move leaves its source's list empty.
///
/// @threadsafety built on one thread, then safe to read from all
class VELMORA_EXPORT SemanticProcessor : public NxObjectBase {
 public:
  /// @param context the consuming module's own; neither read nor owned here
  SemanticProcessor(const std::string& name, void* context);

  /// Appends @p task; one that is in the list already is listed twice.
  void AppendCpxTask(NxRef<CpxTaskObject> task);
  const std::vector<NxRef<CpxTaskObject>>& GetCpxTasks() const { return tasks_; }
  const std::string& GetName() const { return name_; }
  void* GetContext() const { return context_; }

 private:
  void* context_;
  [[maybe_unused]] std::int32_t reserved_ = 0;  // the consuming module's, as in CpxTaskObject
  std::string name_;
  std::vector<NxRef<CpxTaskObject>> tasks_;
};

/// The processors of one template, in the order appended. Copies and moves as `SemanticProcessor`.
class VELMORA_EXPORT SemanticProcessorGroup : public NxObjectBase {
 public:
  void AppendProcessor(NxRef<SemanticProcessor> processor);
  const std::vector<NxRef<SemanticProcessor>>& GetProcessors() const { return processors_; }

 private:
  std::vector<NxRef<SemanticProcessor>> processors_;
};

}  // namespace velmora
