/// @file
/// The managers that all tasks of one graph share.
#pragma once

#include "velmora/engine/active_work_unit_manager.h"
#include "velmora/engine/buffered_item_manager.h"
#include "velmora/engine/data_cache_manager.h"
#include "velmora/engine/task_effect_time_manager.h"
#include "velmora/platform/export.h"

namespace velmora {

/// One pool serves one graph and every work object of it. They all point at it without owning it:
/// the pool outlives them, and the source images that were given it.
///
/// @threadsafety any thread; each manager has its own lock
// NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding): in the order of their destruction
class VELMORA_EXPORT NxDataManagerPool {
 public:
  NxDataManagerPool();
  ~NxDataManagerPool();
  NxDataManagerPool(const NxDataManagerPool&) = delete;
  NxDataManagerPool& operator=(const NxDataManagerPool&) = delete;

  DataCacheManager* GetCacheManager() { return &cacheManager_; }
  ActiveWorkUnitManager* GetActiveWorkUnitManager() { return &activeWorkUnitManager_; }
  TaskEffectTimeManager* GetTaskEffectTimeManager() { return &taskEffectTimeManager_; }
  BufferedItemManager* GetBufferedItemManager() { return &bufferedItemManager_; }

 private:
  DataCacheManager cacheManager_;
  ActiveWorkUnitManager activeWorkUnitManager_;
  TaskEffectTimeManager taskEffectTimeManager_;
  BufferedItemManager bufferedItemManager_;
};

}  // namespace velmora
