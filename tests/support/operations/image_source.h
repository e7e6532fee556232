// Calls of an image source on one thread, beside a model that knows which images are buffered.
#pragma once

#include <algorithm>
#include <cstring>
#include <deque>
#include <memory>
#include <utility>

#include "tests/support/operations/bytes.h"
#include "velmora/image/image_source_adapter.h"

namespace velmora::testing {

class ImageSourceScript {
 public:
  explicit ImageSourceScript(Bytes& script) : script_(script) {}
  // Whatever was thrown: every pixel buffer has been released.
  ~ImageSourceScript() {
    source_.reset();
    VELMORA_REQUIRE(buffers_ == 0);
  }
  ImageSourceScript(const ImageSourceScript&) = delete;
  ImageSourceScript& operator=(const ImageSourceScript&) = delete;

  void Run() {
    while (!script_.IsEmpty()) {
      Step();
      CheckCounts();
    }
  }

 private:
  using Image = basic_structures::CImageData;

  struct Source : basic_structures::CImageSourceAdapter {
    using CImageSourceAdapter::AddImageToBuffer;
    bool HasMoreImages() const override { return true; }
  };

  struct Buffered {
    int id;
    int number;          // kept as the orientation
    const Image* image;  // null if the buffer has a copy
  };

  void Step() {
    switch (script_.Below(12)) {
      case 0:
        source_->StartFetching();
        isFetching_ = true;
        break;
      case 1:
        source_->StopFetching();
        isFetching_ = false;
        break;
      case 2:
        return SetLimit(script_.Below(6) - 1);
      case 3:
        mode_ = script_.Below(3);
        source_->SetBufferOverflowProtectionMode(
            static_cast<basic_structures::BufferOverflowProtectionMode>(mode_));
        break;
      case 4:
        source_->SetColourChannelUsageType(
            static_cast<basic_structures::ColourChannelUsageType>(script_.Below(8)));
        break;
      case 5: {
        const int id = script_.Below(4) - 1;
        return SetNext(id, script_.Coin());
      }
      case 6:
        source_->ClearBuffer();
        dropped_ += model_.size();
        model_.clear();
        break;
      case 7:
      case 8:
        return Take();
      default:
        return Add(script_.Coin());
    }
  }

  // The counter stands before the pixels, so that the release function finds it.
  static constexpr std::size_t kHeader = 16;
  unsigned char* NewBuffer(std::size_t length) {
    unsigned char* block = new unsigned char[kHeader + length]();
    int* counter = &buffers_;
    std::memcpy(block, &counter, sizeof counter);
    ++buffers_;
    return block + kHeader;
  }
  static void Release(const unsigned char* bytes) {
    int* counter = nullptr;
    std::memcpy(&counter, bytes - kHeader, sizeof counter);
    --*counter;
    delete[](bytes - kHeader);
  }

  struct Releaser {
    void operator()(const unsigned char* bytes) const { Release(bytes); }
  };

  std::unique_ptr<const Image> NewImage(int id) {
    basic_structures::CFileImageTag tag("page", 0, 1);
    tag.SetImageId(id);
    const int width = script_.Below(48);
    const int height = script_.Below(8);
    const int stride = script_.Below(200) - 8;
    const auto format = static_cast<basic_structures::ImagePixelFormat>(script_.Below(17));
    const bool hasTag = script_.Below(8) != 0;
    const std::size_t length = 1 + static_cast<std::size_t>(script_.Byte()) * 4;
    std::unique_ptr<const unsigned char, Releaser> bytes(NewBuffer(length));
    auto image = std::make_unique<Image>(length, bytes.get(), &Release, width, height, stride,
                                         format, ++number_, hasTag ? &tag : nullptr);
    static_cast<void>(bytes.release());
    return image;
  }

  void Add(bool copy) {
    const int count = static_cast<int>(model_.size());
    const bool isIdle = limit_ <= 0 || !isFetching_;
    if (!isIdle && mode_ == 0 && count == limit_) return;  // would wait for another thread
    std::unique_ptr<const Image> image = NewImage(script_.Below(4) - 1);
    const basic_structures::CImageTag* tag = image->GetImageTag();
    const Buffered entry{tag != nullptr ? tag->GetImageId() : -1, number_,
                         copy ? nullptr : image.get()};
    if (copy) {
      source_->AddImageToBuffer(image.get(), true);
    } else {
      source_->AddImageToBuffer(image.release(), false);
    }
    if (isIdle || count > limit_) {
      ++refused_;
    } else if (count < limit_ || mode_ != 1) {
      model_.push_back(entry);
    } else if (protectedId_ != -1 && model_.front().id == protectedId_ && count == 1) {
      ++refused_;
    } else {
      const bool isProtected = protectedId_ != -1 && model_.front().id == protectedId_;
      model_.erase(model_.begin() + (isProtected ? 1 : 0));
      ++dropped_;
      model_.push_back(entry);
    }
  }

  void Take() {
    const std::unique_ptr<const Image> image(source_->GetImage());
    VELMORA_REQUIRE((image == nullptr) == model_.empty());
    if (image == nullptr) return;
    VELMORA_REQUIRE(image->GetOrientation() == model_.back().number);
    const basic_structures::CImageTag* tag = image->GetImageTag();
    VELMORA_REQUIRE((tag != nullptr ? tag->GetImageId() : -1) == model_.back().id);
    model_.pop_back();
    ++delivered_;
    protectedId_ = -1;
  }

  void SetNext(int id, bool keep) {
    const auto found = std::find_if(model_.begin(), model_.end(),
                                    [id](const Buffered& entry) { return entry.id == id; });
    const bool isThere = id != -1 && found != model_.end();
    VELMORA_REQUIRE(source_->HasImage(id) == isThere);
    VELMORA_REQUIRE(source_->SetNextImageToReturn(id, keep) == isThere);
    if (!isThere) return;
    if (keep) protectedId_ = id;
    std::rotate(model_.begin(), found, found + 1);
  }

  bool HasCopy(int from) const {
    return std::any_of(model_.begin() + from, model_.end(),
                       [](const Buffered& entry) { return entry.image == nullptr; });
  }

  // The newest in excess belong to this script again; a copy would be lost.
  void SetLimit(int limit) {
    const auto isExcess = [this, limit] {
      return limit >= 0 && static_cast<int>(model_.size()) > limit;
    };
    while (isExcess() && HasCopy(limit)) Take();
    source_->SetMaxImageCount(limit);
    for (limit_ = limit; isExcess(); ++dropped_) {
      delete model_.back().image;
      model_.pop_back();
    }
  }

  void CheckCounts() const {
    const basic_structures::ImageSourceStatistics counts = source_->GetStatistics();
    VELMORA_REQUIRE(counts.delivered == delivered_ && counts.refused == refused_);
    VELMORA_REQUIRE(counts.dropped == dropped_ && counts.buffered == model_.size());
    VELMORA_REQUIRE(counts.offered == delivered_ + refused_ + dropped_ + model_.size());
    VELMORA_REQUIRE(source_->IsBufferEmpty() == model_.empty());
    VELMORA_REQUIRE(source_->GetMaxImageCount() == limit_);
  }

  Bytes& script_;
  int buffers_ = 0;  // pixel buffers that have not been released
  std::unique_ptr<Source> source_ = std::make_unique<Source>();
  std::deque<Buffered> model_;  // oldest first
  bool isFetching_ = false;
  int mode_ = 1;
  int limit_ = 1;
  int protectedId_ = -1;
  int number_ = 0;
  std::uint64_t delivered_ = 0;
  std::uint64_t dropped_ = 0;
  std::uint64_t refused_ = 0;
};

inline void RunImageSource(const std::uint8_t* bytes, std::size_t size) {
  Bytes script(bytes, size);
  ImageSourceScript(script).Run();
}

}  // namespace velmora::testing
