/// @file
/// What the engine hands out as the intermediate result of one image.
#pragma once

#include <vector>

#include "velmora/foundation/object_base.h"
#include "velmora/foundation/ref.h"
#include "velmora/platform/export.h"
#include "velmora/region/unit_base.h"
#include "velmora/results/intermediate_result.h"

namespace velmora {

/// A list of units, shared through `NxRef` inside and seen as `CIntermediateResult` by observers.
///
/// Copies share the units.
///
/// @threadsafety concurrent reads are safe; changes need the caller's own lock
class VELMORA_EXPORT NxIntermediateResult : public intermediate_results::CIntermediateResult,
                                            public NxObjectBase {
 public:
  NxIntermediateResult();
  NxIntermediateResult(const NxIntermediateResult& other);
  NxIntermediateResult& operator=(const NxIntermediateResult& other);
  ~NxIntermediateResult() override;

  /// Shares @p unit behind those that are there.
  void AddUnit(NxRef<SectionResultUnitBase> unit);

  /// In the order in which they were added.
  const std::vector<NxRef<SectionResultUnitBase>>& GetUnitsVec() const { return units_; }

  int GetCount() const override;

  /// The public face of a unit, borrowed. Null if there is no such unit, and also if its public
  /// face was never looked for: have `NxUnitBase::RetainCache` or
  /// `NxUnitBase::TransToCIntermediateResultUnitPtr` find it when the unit is built.
  const intermediate_results::CIntermediateResultUnit* GetIntermediateResultUnit(
      int index) const override;

 private:
  std::vector<NxRef<SectionResultUnitBase>> units_;
};

}  // namespace velmora
