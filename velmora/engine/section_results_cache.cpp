#include "velmora/engine/section_results_cache.h"

#include <utility>

#include "velmora/region/region_object.h"

namespace velmora {

NxSectionResultsCache::NxSectionResultsCache() = default;
NxSectionResultsCache::~NxSectionResultsCache() = default;

void NxSectionResultsCache::PushBackResult(SectionType section, NxRef<NxRegionObject> region) {
  results[section].push_back(std::move(region));
}

void NxSectionResultsCache::SetResults(SectionType section, const Regions& regions) {
  Regions(regions).swap(results[section]);  // the old are released when the list is whole again
}

const NxSectionResultsCache::Regions& NxSectionResultsCache::GetResults(SectionType section) {
  return results[section];
}

void NxSectionResultsCache::PushBackAuxiliaryResult(SectionType section,
                                                    NxRef<NxRegionObject> region) {
  auxiliaryResults[section].push_back(std::move(region));
}

const NxSectionResultsCache::Regions& NxSectionResultsCache::GetAuxiliaryResults(
    SectionType section) {
  return auxiliaryResults[section];
}

}  // namespace velmora
