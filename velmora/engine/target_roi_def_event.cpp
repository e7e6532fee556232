#include "velmora/engine/target_roi_def_event.h"

namespace velmora {

TargetROIDefEvent::TargetROIDefEvent(TargetROIDefEventType type, NxTargetROIDef* source, void* data,
                                     EventOutputStruct* output)
    : type_(type), source_(source), data_(data), output_(output) {}

void TargetROIDefEventListener::HandleSingleRegionCompeleteEvent(TargetROIDefEvent* /*event*/) {}

void TargetROIDefEventListener::HandleTaskUnitOutputCompeleteEvent(TargetROIDefEvent* /*event*/) {}

}  // namespace velmora
