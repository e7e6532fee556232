/// @file
/// How a definition learns that its parents have finished.
#pragma once

#include <cstdint>

#include "velmora/foundation/object_base.h"
#include "velmora/platform/export.h"

namespace velmora {

/// The results that an event reports, laid out by the module that fires it. Opaque here.
struct EventOutputStruct;
class NxTargetROIDef;

/// What has been completed; each value has its handler in `TargetROIDefEventListener`.
enum TargetROIDefEventType : std::int32_t {
  TRDET_SINGLE_REGION_COMPLETE = 0,
  TRDET_TASK_UNIT_OUTPUT_COMPLETE = 1,
};

/// A completion. The source definition, data and output are borrowed: they outlive the event.
///
/// @threadsafety immutable, but for assignment
class VELMORA_EXPORT TargetROIDefEvent : public NxObjectBase {
 public:
  TargetROIDefEvent(TargetROIDefEventType type, NxTargetROIDef* source, void* data,
                    EventOutputStruct* output);

  TargetROIDefEventType GetType() const { return type_; }
  NxTargetROIDef* GetSourceDef() const { return source_; }
  void* GetData() const { return data_; }
  EventOutputStruct* GetOutput() const { return output_; }

 private:
  TargetROIDefEventType type_;
  NxTargetROIDef* source_;
  void* data_;
  EventOutputStruct* output_;
};

/// Hears of completions. Both handlers do nothing by default.
///
/// A listener is never destroyed through this interface, hence no virtual destructor.
class VELMORA_EXPORT TargetROIDefEventListener {
 public:
  virtual void HandleSingleRegionCompeleteEvent(TargetROIDefEvent* event);
  virtual void HandleTaskUnitOutputCompeleteEvent(TargetROIDefEvent* event);

 protected:
  ~TargetROIDefEventListener() = default;
};

}  // namespace velmora
