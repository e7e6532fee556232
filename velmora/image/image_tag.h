/// @file
/// Where an image came from: a file, or a frame of a video.
#pragma once

#include <cstdint>
#include <memory>

#include "velmora/geometry/rect.h"
#include "velmora/platform/export.h"

namespace velmora::basic_structures {

enum ImageTagType : std::int32_t {
  ITT_File = 0,       ///< a `CFileImageTag`
  ITT_VideoFrame = 1  ///< a `CVideoFrameTag`
};

/// How far away the camera was; set and read by the application, not interpreted here. 0 is unset.
enum ImageCaptureDistanceMode : std::int32_t {};

/// How good a video frame is; set and read by the image source, not interpreted here.
enum VideoFrameQuality : std::int32_t {};

/// What is known about the origin of an image.
///
/// Whoever is given a tag (an image, a result) keeps a `Clone()` of it, never the tag itself.
///
/// A derived class is compiled with run-time type information: the library casts tags.
///
/// @threadsafety as a plain value
class VELMORA_EXPORT CImageTag {
 public:
  CImageTag(const CImageTag&) = default;
  CImageTag& operator=(const CImageTag&) = default;
  virtual ~CImageTag();

  virtual ImageTagType GetType() const = 0;

  /// @return an independent copy with every field of this tag, owned by the caller
  /// @throws std::bad_alloc
  [[nodiscard]] virtual CImageTag* Clone() const = 0;

  /// The number by which the application knows the image; -1 when unset.
  int GetImageId() const noexcept { return imageId_; }
  void SetImageId(int imageId) noexcept { imageId_ = imageId; }

  ImageCaptureDistanceMode GetImageCaptureDistanceMode() const noexcept { return distanceMode_; }
  void SetImageCaptureDistanceMode(ImageCaptureDistanceMode mode) noexcept { distanceMode_ = mode; }

 protected:
  CImageTag() = default;

 private:
  std::int32_t imageId_ = -1;
  ImageCaptureDistanceMode distanceMode_{};
};

/// The image was read from a file, possibly one page of several.
class VELMORA_EXPORT CFileImageTag : public CImageTag {
 public:
  /// @param filePath  copied; may be null
  /// @throws std::bad_alloc
  CFileImageTag(const char* filePath, int pageNumber, int totalPages);

  /// Copies deeply: the new tag has a path of its own.
  /// @throws std::bad_alloc
  CFileImageTag(const CFileImageTag& other);
  CFileImageTag& operator=(const CFileImageTag& other);
  ~CFileImageTag() override;

  ImageTagType GetType() const override;
  [[nodiscard]] CImageTag* Clone() const override;

  /// The path as given, NUL-terminated; null if there is none. Lives as long as the tag.
  const char* GetFilePath() const noexcept { return filePath_; }
  int GetPageNumber() const noexcept { return pageNumber_; }
  int GetTotalPages() const noexcept { return totalPages_; }

 private:
  char* filePath_;  // owned, from the core module's heap
  std::int32_t pageNumber_;
  std::int32_t totalPages_;
};

/// The image is a frame of a video.
class VELMORA_EXPORT CVideoFrameTag : public CImageTag {
 public:
  /// @param cropRegion      copied; null if the frame was not cropped
  /// @param originalWidth   of the frame before cropping, in pixels
  /// @param originalHeight  likewise
  /// @throws std::bad_alloc
  CVideoFrameTag(VideoFrameQuality quality, bool isCropped, const CRect* cropRegion,
                 int originalWidth, int originalHeight, unsigned int clarity);

  /// Copy construction and copy assignment are shallow: both tags then show the same crop region,
  /// at the same address, which lives until the last of them is gone. `Clone()` makes an
  /// independent tag.
  CVideoFrameTag(const CVideoFrameTag&) = default;
  CVideoFrameTag& operator=(const CVideoFrameTag&) = default;
  ~CVideoFrameTag() override;

  ImageTagType GetType() const override;
  [[nodiscard]] CImageTag* Clone() const override;

  VideoFrameQuality GetVideoFrameQuality() const noexcept { return quality_; }
  bool IsCropped() const noexcept { return isCropped_; }
  /// The region that was cut out of the original frame; null if there is none.
  const CRect* GetCropRegion() const noexcept { return cropRegion_.get(); }
  int GetOriginalWidth() const noexcept { return originalWidth_; }
  int GetOriginalHeight() const noexcept { return originalHeight_; }
  unsigned int GetClarity() const noexcept { return clarity_; }

 private:
  VideoFrameQuality quality_;
  bool isCropped_;
  std::shared_ptr<const CRect> cropRegion_;
  std::int32_t originalWidth_;
  std::int32_t originalHeight_;
  std::uint32_t clarity_;
};

}  // namespace velmora::basic_structures
