/// @file
/// Regions filed under a key.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "velmora/foundation/object_base.h"
#include "velmora/foundation/ref.h"
#include "velmora/platform/export.h"
#include "velmora/platform/mutex.h"
#include "velmora/region/region_object.h"

namespace velmora {

/// A filed region with three names, whose meaning belongs to whoever files it.
struct RegionObjectRecord {
  NxRef<NxRegionObject> region;
  std::array<std::string, 3> names;
};

/// Files regions under integer keys, several under each.
///
/// @threadsafety any thread
class VELMORA_EXPORT NxRegionObjectManager : public NxObjectBase {
 public:
  NxRegionObjectManager();
  ~NxRegionObjectManager() override;
  NxRegionObjectManager(const NxRegionObjectManager&) = delete;
  NxRegionObjectManager& operator=(const NxRegionObjectManager&) = delete;

  /// Files @p region (shared) behind what @p key has already. If the region or a name is null,
  /// nothing is stored.
  /// @param key  a negative one stands for the region's type
  void AddRegionObject(NxRegionObject* region, const char* name1, const char* name2,
                       const char* name3, int key);

  /// A copy of what was filed under @p key, in that order; empty if nothing was.
  std::vector<RegionObjectRecord> GetRegionObjects(int key) const;

 private:
  mutable Mutex mutex_;
  std::map<std::int32_t, std::vector<RegionObjectRecord>> records_ VELMORA_GUARDED_BY(mutex_);
};

}  // namespace velmora
