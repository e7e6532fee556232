/// @file
/// Images that later steps find again by their hash id.
#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <string>

#include "velmora/foundation/object_base.h"
#include "velmora/foundation/ref.h"
#include "velmora/platform/export.h"
#include "velmora/platform/mutex.h"

namespace velmora {

namespace basic_structures {
class CImageData;
}
class NxSourceImageObject;

/// What a task module keeps about one source image beyond the task that made it.
///
/// The concrete caches belong to the task modules. Copies share the source image object; a move
/// leaves its source without one.
///
/// @threadsafety the drop flag from any thread; the source image object is set before the cache is
///               shared
class VELMORA_EXPORT SourceImageCacheBase : public NxObjectBase {
 public:
  SourceImageCacheBase();  ///< no source image object, not to be dropped
  SourceImageCacheBase(const SourceImageCacheBase& other);
  SourceImageCacheBase(SourceImageCacheBase&& other);
  SourceImageCacheBase& operator=(const SourceImageCacheBase& other);
  SourceImageCacheBase& operator=(SourceImageCacheBase&& other);
  ~SourceImageCacheBase() override;

  /// Frees what can be made again from the source image, which stays.
  virtual void CleanCache() = 0;

  const NxRef<NxSourceImageObject>& GetSourceImageObject() const { return sourceImageObject_; }
  void SetSourceImageObject(NxRef<NxSourceImageObject> sourceImageObject);

  /// True once the cache may be discarded: the next `DataCacheManager::UpdateCacheMap` lets it go.
  bool GetDropFlag() const { return dropFlag_.load(std::memory_order_relaxed); }
  void SetDropFlag(bool drop) { dropFlag_.store(drop, std::memory_order_relaxed); }

 private:
  NxRef<NxSourceImageObject> sourceImageObject_;
  // Relaxed accesses: the flag says nothing about other data.
  std::atomic<bool> dropFlag_{false};
};

/// The caches of source images, by the hash id of their image.
///
/// @threadsafety any thread; one mutex, held for each whole operation. Caches that are replaced or
///               removed are released after it.
class VELMORA_EXPORT DataCacheManager {
 public:
  DataCacheManager();
  ~DataCacheManager();

  /// Files @p cache (shared) under the hash id of its source image, in place of the one that is
  /// there. Null does nothing, nor does a cache without a source image.
  void AddToCacheMap(SourceImageCacheBase* cache);

  /// @return the cache filed under exactly @p hashId; empty if there is none
  NxRef<SourceImageCacheBase> GetFromCacheMap(const std::string& hashId) const;

  /// @return the image filed under exactly @p hashId, borrowed: the cache keeps it alive; null if
  ///         there is none or @p hashId is null
  basic_structures::CImageData* GetSourceImage(const char* hashId) const;

  /// Removes the caches whose drop flag is set.
  /// @return true if there was one
  bool UpdateCacheMap();

  void CleanAllCacheMap();

 private:
  using CacheMap = std::map<std::string, NxRef<SourceImageCacheBase>, std::less<>>;

  mutable Mutex mutex_;
  CacheMap caches_ VELMORA_GUARDED_BY(mutex_);
};

}  // namespace velmora
