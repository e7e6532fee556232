/// @file
/// What a task holds on to while its thread is suspended.
#pragma once

#include "velmora/foundation/object_base.h"
#include "velmora/platform/export.h"

namespace velmora {

/// Suspends a thread of a task for as long as the task output keeps it. What that takes belongs to
/// the pool module that derives from this class; here it is only kept and passed on.
class VELMORA_EXPORT ThreadSuspendToken : public NxObjectBase {
 public:
  ThreadSuspendToken();
  ~ThreadSuspendToken() override;
};

}  // namespace velmora
