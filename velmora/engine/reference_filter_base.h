/// @file
/// The base of the filters on reference regions.
#pragma once

#include "velmora/foundation/object_base.h"
#include "velmora/platform/export.h"

namespace velmora {

/// Decides which reference regions a task keeps. The filters belong to the task modules; copying
/// and assigning are those of `NxObjectBase`.
class VELMORA_EXPORT NxReferenceFilterBase : public NxObjectBase {
 public:
  NxReferenceFilterBase();
  NxReferenceFilterBase(const NxReferenceFilterBase&);
  NxReferenceFilterBase& operator=(const NxReferenceFilterBase&);
  ~NxReferenceFilterBase() override;
};

}  // namespace velmora
