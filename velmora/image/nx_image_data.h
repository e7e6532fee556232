/// @file
/// The image as it travels inside the system.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "velmora/foundation/array.h"
#include "velmora/foundation/object_base.h"
#include "velmora/geometry/nx_quad.h"
#include "velmora/geometry/rect.h"
#include "velmora/image/image_data.h"
#include "velmora/image/text_block.h"
#include "velmora/platform/export.h"
#include "velmora/platform/mutex.h"

namespace velmora {

/// An image that is shared through `NxRef`, with what a page reader took out of a PDF page besides
/// the pixels: vector lines and rectangles, the regions of embedded images, blocks of text.
///
/// The arrays are shared with whoever sets or gets them, never copied. They count for the
/// `ExistPDF...` queries only once `SetExtracted(true)` says that they are complete.
///
/// @threadsafety GetHashID() and CalcHashID() from any thread; all setters, `SetHashID` included,
///               only while nobody else uses the image
class VELMORA_EXPORT NxImageData : public basic_structures::CImageData, public NxObjectBase {
 public:
  /// An empty image, the identity matrix, no arrays.
  NxImageData() = default;
  /// The copying and the adopting constructor.
  using CImageData::CImageData;
  ~NxImageData() override;

  /// Nine doubles, a 3x3 matrix in row-major order.
  void GetRotationTransformMatrix(double out[9]) const noexcept;
  void SetRotationTransformMatrix(const double in[9]) noexcept;

  /// Sets the orientation from the number of an EXIF orientation tag: 6 is 90 degrees, 3 is 180,
  /// 8 is 270, everything else 0.
  void SetOrientationType(int exifOrientation) noexcept;
  /// Stores the angle, in degrees, unchanged.
  void SetOrientationAngle(int degrees) noexcept { orientation_ = degrees; }

  /// The vector lines of a page: start and end points as x, y pairs, and one flag per line.
  void GetVectorLines(NxArrayRef<float>& starts, NxArrayRef<float>& ends,
                      NxArrayRef<unsigned char>& flags) const;
  void SetVectorLines(const NxArrayRef<float>& starts, const NxArrayRef<float>& ends,
                      const NxArrayRef<unsigned char>& flags);

  /// The rectangles drawn on a page, and one flag per rectangle.
  void GetVectorRects(NxArrayRef<basic_structures::NxRect_<float>>& rects,
                      NxArrayRef<unsigned char>& flags) const;
  void SetVectorRects(const NxArrayRef<basic_structures::NxRect_<float>>& rects,
                      const NxArrayRef<unsigned char>& flags);

  /// The regions of a page that embedded images occupy.
  void SetImageRois(const NxArrayRef<Nx_Quad>& rois);
  /// Copies the regions; an empty list leaves those stored before in place.
  void SetImageRois(const std::vector<Nx_Quad>& rois);
  void GetPDFImageROIs(NxArrayRef<Nx_Quad>& rois) const;

  /// The text of a page.
  void SetBarcodeTextBlocks(const NxArrayRef<TextBlock>& blocks);
  /// Copies the blocks; an empty list replaces those stored before.
  void SetBarcodeTextBlocks(const std::vector<TextBlock>& blocks);
  void GetPDFTextBlocks(NxArrayRef<TextBlock>& blocks) const;

  /// Whether the content of the PDF page is complete.
  void SetExtracted(bool extracted) noexcept { extracted_ = extracted; }
  bool IsExtracted() const noexcept { return extracted_; }

  /// Whether there is content of the kind; always false until `SetExtracted(true)`, whatever the
  /// arrays hold.
  bool ExistPDFVectorDatas() const noexcept;
  bool ExistPDFImageDatas() const noexcept;
  bool ExistPDFTextDatas() const noexcept;

  /// Names the image by the hash of its bytes (`NxHashAlgorithm`, the low 32 bits of the length),
  /// unless it has an object id already; without bytes it does nothing.
  void CalcHashID();

  /// The hash id, calculated by the first call; empty for an image without bytes and without an id.
  /// Later calls cost one atomic read.
  const std::string& GetHashID();

  /// Replaces the hash id.
  void SetHashID(const std::string& id);

 private:
  std::array<double, 9> rotationTransformMatrix_{1, 0, 0, 0, 1, 0, 0, 0, 1};
  NxArrayRef<float> vectorLineStarts_;
  NxArrayRef<float> vectorLineEnds_;
  NxArrayRef<unsigned char> vectorLineFlags_;
  NxArrayRef<basic_structures::NxRect_<float>> vectorRects_;
  NxArrayRef<Nx_Quad> pdfImageRois_;
  NxArrayRef<TextBlock> pdfTextBlocks_;
  NxArrayRef<unsigned char> vectorRectFlags_;
  bool extracted_ = false;
  Mutex hashIdMutex_;  // guards the object id until hashIdIsSet_ is true
  std::atomic<bool> hashIdIsSet_{false};
};

}  // namespace velmora
