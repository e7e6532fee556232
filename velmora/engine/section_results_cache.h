/// @file
/// The regions that each section of the pipeline found.
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <vector>

#include "velmora/foundation/ref.h"
#include "velmora/platform/export.h"

namespace velmora {

class NxRegionObject;

/// A section of the pipeline. The task modules number them; any 32-bit value will do.
enum SectionType : std::int32_t {};

/// Results and auxiliary results by section. Asking for a section that is absent gives it an empty
/// list.
///
/// @threadsafety none of the operations takes a lock. Callers that share a cache take the mutex of
///               the map that they use, around the operation and their use of what it returned.
struct VELMORA_EXPORT NxSectionResultsCache {
  using Regions = std::vector<NxRef<NxRegionObject>>;
  using ResultMap = std::map<SectionType, Regions>;

  NxSectionResultsCache();
  NxSectionResultsCache(const NxSectionResultsCache&) = delete;
  NxSectionResultsCache& operator=(const NxSectionResultsCache&) = delete;
  ~NxSectionResultsCache();

  void PushBackResult(SectionType section, NxRef<NxRegionObject> region);
  void SetResults(SectionType section, const Regions& regions);
  const Regions& GetResults(SectionType section);
  void PushBackAuxiliaryResult(SectionType section, NxRef<NxRegionObject> region);
  const Regions& GetAuxiliaryResults(SectionType section);
  const ResultMap& GetAllSectionResults() const { return results; }

  std::mutex resultsMutex;           ///< plain: the callers', for `results`
  std::mutex auxiliaryResultsMutex;  ///< plain: the callers', for `auxiliaryResults`
  ResultMap results;
  ResultMap auxiliaryResults;
};

}  // namespace velmora
