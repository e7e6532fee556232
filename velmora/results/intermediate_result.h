/// @file
/// A list of intermediate-result units, as a receiver gets it.
#pragma once

#include "velmora/platform/export.h"

namespace velmora::intermediate_results {

class CIntermediateResultUnit;

/// The units that one stage of the work published together, in the order they were produced.
///
/// Lent to a receiver for the length of a call.
///
/// @threadsafety concurrent reads are safe while nobody adds units
class VELMORA_EXPORT CIntermediateResult {
 public:
  CIntermediateResult() = default;
  CIntermediateResult(const CIntermediateResult&) = default;
  CIntermediateResult& operator=(const CIntermediateResult&) = default;
  virtual ~CIntermediateResult();

  /// Number of units.
  virtual int GetCount() const = 0;

  /// @param index  0 to GetCount() - 1
  /// @return borrowed, alive as long as this result unless retained; null if @p index is out of
  ///         range or the unit has no public face
  virtual const CIntermediateResultUnit* GetIntermediateResultUnit(int index) const = 0;
};

}  // namespace velmora::intermediate_results
