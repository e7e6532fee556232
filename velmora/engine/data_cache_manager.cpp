#include "velmora/engine/data_cache_manager.h"

#include <utility>
#include <vector>

#include "velmora/image/nx_image_data.h"
#include "velmora/region/source_image_object.h"

namespace velmora {

SourceImageCacheBase::SourceImageCacheBase() = default;
SourceImageCacheBase::~SourceImageCacheBase() = default;

SourceImageCacheBase::SourceImageCacheBase(const SourceImageCacheBase& other)
    : NxObjectBase(other),
      sourceImageObject_(other.sourceImageObject_),
      dropFlag_(other.GetDropFlag()) {}

SourceImageCacheBase::SourceImageCacheBase(SourceImageCacheBase&& other)
    : NxObjectBase(other),
      sourceImageObject_(std::move(other.sourceImageObject_)),
      dropFlag_(other.GetDropFlag()) {}

SourceImageCacheBase& SourceImageCacheBase::operator=(const SourceImageCacheBase& other) {
  NxObjectBase::operator=(other);
  sourceImageObject_ = other.sourceImageObject_;
  SetDropFlag(other.GetDropFlag());
  return *this;
}

SourceImageCacheBase& SourceImageCacheBase::operator=(SourceImageCacheBase&& other) {
  NxObjectBase::operator=(other);
  sourceImageObject_ = std::move(other.sourceImageObject_);
  SetDropFlag(other.GetDropFlag());
  return *this;
}

void SourceImageCacheBase::SetSourceImageObject(NxRef<NxSourceImageObject> sourceImageObject) {
  sourceImageObject_ = std::move(sourceImageObject);
}

DataCacheManager::DataCacheManager() = default;

DataCacheManager::~DataCacheManager() {
  CleanAllCacheMap();  // a cache that asks this manager while it dies finds it whole, and empty
}

void DataCacheManager::AddToCacheMap(SourceImageCacheBase* cache) {
  if (cache == nullptr || !cache->GetSourceImageObject()) return;
  const std::string& hashId = cache->GetSourceImageObject()->GetHashID();
  NxRef<SourceImageCacheBase> filed(cache);  // leaves with what it replaces
  const MutexLock lock(mutex_);
  caches_[hashId].swap(filed);
}

NxRef<SourceImageCacheBase> DataCacheManager::GetFromCacheMap(const std::string& hashId) const {
  const MutexLock lock(mutex_);
  const auto found = caches_.find(hashId);
  return found != caches_.end() ? found->second : nullptr;
}

basic_structures::CImageData* DataCacheManager::GetSourceImage(const char* hashId) const {
  if (hashId == nullptr) return nullptr;
  const MutexLock lock(mutex_);
  const auto found = caches_.find(hashId);
  if (found == caches_.end()) return nullptr;
  const NxSourceImageObject* const source = found->second->GetSourceImageObject().get();
  return source != nullptr ? source->GetImage().get() : nullptr;
}

bool DataCacheManager::UpdateCacheMap() {
  CacheMap dropped;
  const MutexLock lock(mutex_);
  for (auto next = caches_.begin(); next != caches_.end();) {
    const auto current = next++;
    if (current->second->GetDropFlag()) dropped.insert(caches_.extract(current));
  }
  return !dropped.empty();
}

void DataCacheManager::CleanAllCacheMap() {
  CacheMap dropped;
  const MutexLock lock(mutex_);
  caches_.swap(dropped);
}

}  // namespace velmora
