#include "velmora/image/image_source_adapter.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <iterator>
#include <list>
#include <thread>
#include <utility>

#include "velmora/image/image_copy.h"
#include "velmora/image/internal/source_tally.h"
#include "velmora/image/pixel_conversion.h"
#include "velmora/platform/mutex.h"

namespace velmora::basic_structures {
namespace {

using ImagePtr = std::unique_ptr<CImageData>;
// A list, because it allocates nothing but its elements, and those before the lock is taken.
using Images = std::list<ImagePtr>;

constexpr int kNoImageId = -1;

bool HasId(const CImageData& image, int imageId) {
  return imageId != kNoImageId && image.GetImageTag() != nullptr &&
         image.GetImageTag()->GetImageId() == imageId;
}

}  // namespace

// Operations return the images that have to go instead of destroying them: a release function is
// not to run under the lock.
class CImageSourceAdapter::State {
 public:
  // Settings, read without the lock; each stands for itself.
  std::atomic<BufferOverflowProtectionMode> overflowMode{BOP_DropOldest};
  std::atomic<std::int32_t> maxImageCount{1};  // written under the lock
  std::atomic<bool> fetching{false};
  std::atomic<ColourChannelUsageType> colourChannelUsage{CCU_Unrestricted};

  bool IsIdle() const { return maxImageCount <= 0 || !IsFetching(); }
  void CountRefusalWhileIdle() { ++refusedWhileIdle_; }

  // Takes the one image in, perhaps after a wait. Returns what has no place: nothing, the oldest
  // image, or the new one itself.
  Images Add(Images image) {
    WaitingLock lock(bufferLock_);
    const std::int32_t limit = maxImageCount;
    // The limit may have gone since the caller asked IsIdle.
    if (limit <= 0 || Count() > limit) return Refuse(std::move(image));
    const bool isFull = Count() == limit;
    const BufferOverflowProtectionMode mode = overflowMode;
    const bool dropOldest = isFull && mode == BOP_DropOldest;
    if (isFull && mode == BOP_Block && !WaitForRoom(lock)) return Refuse(std::move(image));
    if (dropOldest && HasId(*buffer_.front(), protectedImageId_)) {
      if (limit == 1) return Refuse(std::move(image));
      std::swap(buffer_.front(), *std::next(buffer_.begin()));
    }
    buffer_.splice(buffer_.end(), image);
    if (dropOldest) {
      image.splice(image.end(), buffer_, buffer_.begin());
      ++counts_.dropped;
    }
    PublishCounts();
    return image;
  }

  // The newest image; null if there is none.
  ImagePtr Take() {
    const MutexLock lock(bufferLock_);
    if (buffer_.empty()) return nullptr;
    ImagePtr image = std::move(buffer_.back());
    buffer_.pop_back();
    protectedImageId_ = kNoImageId;
    ++counts_.delivered;
    PublishCounts();
    return image;
  }

  Images TakeAll() {
    Images images;
    const MutexLock lock(bufferLock_);
    images.swap(buffer_);
    counts_.dropped += images.size();
    PublishCounts();
    return images;
  }

  void SetMaxImageCount(std::int32_t count) {
    const MutexLock lock(bufferLock_);
    for (; count >= 0 && Count() > count; ++counts_.dropped) {
      static_cast<void>(buffer_.back().release());  // its pusher knows it
      buffer_.pop_back();
    }
    maxImageCount = count;
    PublishCounts();
  }

  bool Has(int imageId) const {
    const MutexLock lock(bufferLock_);
    return Find(imageId) != buffer_.end();
  }

  bool MoveToFront(int imageId, bool protect) {
    const MutexLock lock(bufferLock_);
    const auto found = Find(imageId);
    if (found == buffer_.end()) return false;
    if (protect) protectedImageId_ = imageId;
    buffer_.splice(buffer_.begin(), buffer_, found);
    return true;
  }

  bool IsEmpty() const {
    const MutexLock lock(bufferLock_);
    return Count() == 0;  // not empty(): the thread sanitizer sees the size change, not the links
  }

  void StopFetching() {
    fetching = false;
    {
      // A producer looks at its condition and falls asleep under the lock: none is between the two
      // and misses the call. Counted, because fetching may be on again before they wake.
      const MutexLock lock(bufferLock_);
      ++stopCount_;
    }
    WakeProducers();
  }
  void WakeProducers() { spaceAvailable_.notify_all(); }

  // From here on the source is idle for good, even if a release function starts it again.
  void Close() {
    isClosed_ = true;
    StopFetching();
  }

  // A producer is inside AddImageToBuffer as long as its visit lasts. The end of the visit is the
  // last thing that the producer does to the state.
  class Visit {
   public:
    explicit Visit(State& state) : count_(state.producersInside_) { ++count_; }
    ~Visit() { --count_; }
    Visit(const Visit&) = delete;
    Visit& operator=(const Visit&) = delete;

   private:
    std::atomic<int>& count_;
  };

  // For the destructor. Polls, because a producer that announced its end through a mutex could
  // still be unlocking it when the mutex is destroyed. The wait is rare: a producer that is inside
  // has been woken, and leaves as soon as its copy is made and its release functions have returned.
  void WaitForProducers() const {
    while (producersInside_ != 0) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }

  int GetCount() const { return static_cast<int>(tally_.GetBuffered()); }

  ImageSourceStatistics GetStatistics() const {
    const internal::SourceCounts counts = tally_.Read();
    const std::uint64_t refused =
        counts.refused + refusedWhileIdle_.load(std::memory_order_relaxed);
    return {counts.delivered + counts.dropped + refused + counts.buffered, counts.delivered,
            counts.dropped, refused, counts.buffered};
  }

 private:
  bool IsFetching() const { return fetching && !isClosed_; }
  std::int32_t Count() const VELMORA_REQUIRES(bufferLock_) {
    return static_cast<std::int32_t>(buffer_.size());
  }

  // False if fetching was off at any time of the wait.
  bool WaitForRoom(WaitingLock& lock) VELMORA_REQUIRES(bufferLock_) {
    const std::uint64_t stopCount = stopCount_;
    while (IsFetching() && stopCount_ == stopCount) {
      if (Count() < maxImageCount) return true;
      spaceAvailable_.wait(lock.Native());
    }
    return false;
  }

  Images::const_iterator Find(int imageId) const VELMORA_REQUIRES(bufferLock_) {
    return std::find_if(buffer_.begin(), buffer_.end(),
                        [imageId](const ImagePtr& image) { return HasId(*image, imageId); });
  }

  Images Refuse(Images image) VELMORA_REQUIRES(bufferLock_) {
    ++counts_.refused;
    PublishCounts();
    return image;
  }

  void PublishCounts() VELMORA_REQUIRES(bufferLock_) {
    counts_.buffered = buffer_.size();
    tally_.Publish(counts_);
  }

  mutable Mutex bufferLock_;
  std::condition_variable spaceAvailable_;         // producers wait on it in mode BOP_Block
  Images buffer_ VELMORA_GUARDED_BY(bufferLock_);  // oldest first
  std::int32_t protectedImageId_ VELMORA_GUARDED_BY(bufferLock_) = kNoImageId;
  internal::SourceCounts counts_ VELMORA_GUARDED_BY(bufferLock_);
  std::uint64_t stopCount_ VELMORA_GUARDED_BY(bufferLock_) = 0;  // calls of StopFetching
  internal::SourceTally tally_;  // counts_, for readers without the lock

  // An idle source refuses without the lock, and so counts without it.
  std::atomic<std::uint64_t> refusedWhileIdle_{0};

  std::atomic<bool> isClosed_{false};
  std::atomic<int> producersInside_{0};
};

CImageSourceAdapter::CImageSourceAdapter() : state_(std::make_unique<State>()) {}

CImageSourceAdapter::~CImageSourceAdapter() {
  state_->Close();
  state_->WaitForProducers();
  ClearBuffer();  // not before: a producer may have added an image on its way out
}

void CImageSourceAdapter::StartFetching() {
  state_->fetching = true;
}

void CImageSourceAdapter::StopFetching() {
  state_->StopFetching();
}

void CImageSourceAdapter::AddImageToBuffer(const CImageData* image, bool copyImage) {
  if (image == nullptr) return;
  const State::Visit visit(*state_);  // ends after all release functions that run in here
  ImagePtr owned(copyImage ? nullptr : const_cast<CImageData*>(image));
  if (state_->IsIdle()) {  // before the copy: it would be for nothing
    state_->CountRefusalWhileIdle();
    return;
  }
  if (copyImage) owned = CopyImage(*image);
  Images element;
  element.push_back(std::move(owned));
  state_->Add(std::move(element));
}

CImageData* CImageSourceAdapter::GetImage() {
  ImagePtr image = state_->Take();
  if (image == nullptr) return nullptr;
  state_->WakeProducers();  // in every mode: it may have changed while they wait
  if (image->GetBytes() == nullptr) return image.release();
  CImageData* converted = Nx_ConvertImageData(image.get(), state_->colourChannelUsage);
  return converted != nullptr ? converted : image.release();
}

void CImageSourceAdapter::SetMaxImageCount(int count) {
  state_->SetMaxImageCount(count);
  state_->WakeProducers();
}

int CImageSourceAdapter::GetMaxImageCount() const noexcept {
  return state_->maxImageCount;
}

void CImageSourceAdapter::SetBufferOverflowProtectionMode(
    BufferOverflowProtectionMode mode) noexcept {
  state_->overflowMode = mode;
}

BufferOverflowProtectionMode CImageSourceAdapter::GetBufferOverflowProtectionMode() const noexcept {
  return state_->overflowMode;
}

void CImageSourceAdapter::SetColourChannelUsageType(ColourChannelUsageType usage) noexcept {
  state_->colourChannelUsage = usage;
}

ColourChannelUsageType CImageSourceAdapter::GetColourChannelUsageType() const noexcept {
  return state_->colourChannelUsage;
}

bool CImageSourceAdapter::HasImage(int imageId) const {
  return state_->Has(imageId);
}

bool CImageSourceAdapter::SetNextImageToReturn(int imageId, bool keepInBuffer) {
  return state_->MoveToFront(imageId, keepInBuffer);
}

int CImageSourceAdapter::GetImageCount() const noexcept {
  return state_->GetCount();
}

bool CImageSourceAdapter::IsBufferEmpty() const {
  return state_->IsEmpty();
}

void CImageSourceAdapter::ClearBuffer() {
  const Images images = state_->TakeAll();
  state_->WakeProducers();
}

void CImageSourceAdapter::SetErrorListener(CImageSourceErrorListener* listener) noexcept {
  errorListener_ = listener;
}

CImageSourceErrorListener* CImageSourceAdapter::GetErrorListener() const noexcept {
  return errorListener_;
}

ImageSourceStatistics CImageSourceAdapter::GetStatistics() const noexcept {
  return state_->GetStatistics();
}

}  // namespace velmora::basic_structures
