#include "velmora_capture/internal/source_image.h"

#include <cstddef>
#include <cstdint>
#include <utility>

#include "velmora/image/convert_data.h"
#include "velmora/image/pixel_conversion.h"

namespace velmora::capture {

using namespace basic_structures;

namespace {

// An image that keeps what owns its pixels.
template <typename Base, typename Owner>
class ImageOf final : public Base {
 public:
  ImageOf(Owner owner, const CImageData& image, ImagePixelFormat format, unsigned long long length)
      : Base(length, image.GetBytes(), nullptr, image.GetWidth(), image.GetHeight(),
             image.GetStride(), format, image.GetOrientation(), image.GetImageTag()),
        owner_(std::move(owner)) {}

 private:
  const Owner owner_;
};

using OwnedImage = ImageOf<NxImageData, std::unique_ptr<CImageData>>;
using GreyPlane = ImageOf<NxImageData, NxRef<NxImageData>>;
using SharedImage = ImageOf<CImageData, NxRef<NxImageData>>;

ConvertData Describe(const CImageData& image) {
  ConvertData data(image.GetBytes(), image.GetWidth(), image.GetHeight(), image.GetStride(), 0, 0,
                   0, false, false, false, false, CCU_Luminance);
  data.UpdateByFormat(image.GetImagePixelFormat());
  if (image.GetImagePixelFormat() == PXF_Binary8Inverted) {
    for (int value = 255; value >= 0; --value) {
      data.palette.push_back(static_cast<unsigned char>(value));
    }
  }
  return data;
}

bool IsYuv(ImagePixelFormat format) {
  return format == PXF_YuvSemiPlanar || format == PXF_YuvSemiPlanarReversed;
}

// The high bytes of the three channels of a row of 16-bit words, as B, G, R.
void TakeHighBytes(const unsigned char* words, int width, int channels, bool isRedFirst,
                   unsigned char* out) {
  for (int x = 0; x < width; ++x, words += 2 * channels, out += 3) {
    out[0] = words[isRedFirst ? 5 : 1];
    out[1] = words[3];
    out[2] = words[isRedFirst ? 1 : 5];
  }
}

// The conversion to grey takes 8 bits a channel: deeper images go through it row by row.
std::unique_ptr<CImageData> ConvertDeepImage(const CImageData& image) {
  const int width = image.GetWidth();
  const int channels = image.GetImagePixelFormat() == PXF_Colour161616 ? 3 : 4;
  const bool isRedFirst = image.GetImagePixelFormat() == PXF_Colour16161616;
  const auto pixels = static_cast<std::size_t>(width) * static_cast<std::size_t>(image.GetHeight());
  std::vector<unsigned char> grey(pixels);
  std::vector<unsigned char> row(static_cast<std::size_t>(width) * 3);
  ConvertData data(row.data(), width, 1, width * 3, 24, 0, 0, false, false, false, false,
                   CCU_Unrestricted);
  for (int y = 0; y < image.GetHeight(); ++y) {
    TakeHighBytes(image.GetBytes() + std::ptrdiff_t{y} * image.GetStride(), width, channels,
                  isRedFirst, row.data());
    const std::unique_ptr<CImageData> greyRow(Nx_ConvertToGrayscale(&data));
    if (greyRow == nullptr) return nullptr;
    std::copy_n(greyRow->GetBytes(), width, grey.data() + std::ptrdiff_t{y} * width);
  }
  return std::make_unique<CImageData>(pixels, grey.data(), width, image.GetHeight(), width,
                                      PXF_Grayscale8, image.GetOrientation(), image.GetImageTag());
}

}  // namespace

NxRef<NxImageData> TakeOverImage(std::unique_ptr<CImageData> image) {
  const CImageData& pixels = *image;
  return new OwnedImage(std::move(image), pixels, pixels.GetImagePixelFormat(),
                        pixels.GetBytesLength());
}

NxRef<NxImageData> BorrowImage(const CImageData& image) {
  return new NxImageData(image.GetBytesLength(), image.GetBytes(), nullptr, image.GetWidth(),
                         image.GetHeight(), image.GetStride(), image.GetImagePixelFormat(),
                         image.GetOrientation(), image.GetImageTag());
}

NxRef<NxImageData> CopyImage(const CImageData& image) {
  return new NxImageData(image.GetBytesLength(), image.GetBytes(), image.GetWidth(),
                         image.GetHeight(), image.GetStride(), image.GetImagePixelFormat(),
                         image.GetOrientation(), image.GetImageTag());
}

std::unique_ptr<CImageData> ShareImage(const NxRef<NxImageData>& image) {
  return std::make_unique<SharedImage>(image, *image, image->GetImagePixelFormat(),
                                       image->GetBytesLength());
}

bool IsReadable(const CImageData& image) {
  if (image.GetBytes() == nullptr || image.GetWidth() < 1 || image.GetHeight() < 1) return false;
  const ConvertData data = Describe(image);
  if (data.bitsPerPixel == 0) return false;
  const std::int64_t rowBytes = (std::int64_t{image.GetWidth()} * data.bitsPerPixel + 7) / 8;
  if (image.GetStride() < rowBytes) return false;
  const std::int64_t needed = std::int64_t{image.GetStride()} * (image.GetHeight() - 1) + rowBytes;
  return !image.IsLengthKnown() || static_cast<std::uint64_t>(needed) <= image.GetBytesLength();
}

NxRef<NxImageData> MakeGrey(const NxRef<NxImageData>& image) {
  const ImagePixelFormat format = image->GetImagePixelFormat();
  if (format == PXF_Grayscale8 || format == PXF_Binary8) return image;
  if (IsYuv(format)) {
    const auto length = static_cast<unsigned long long>(image->GetStride()) *
                            static_cast<unsigned>(image->GetHeight() - 1) +
                        static_cast<unsigned>(image->GetWidth());
    return new GreyPlane(image, *image, PXF_Grayscale8, length);
  }
  ConvertData data = Describe(*image);
  std::unique_ptr<CImageData> grey(data.bitsPerPixel > 32 ? ConvertDeepImage(*image).release()
                                                          : Nx_ConvertToGrayscale(&data));
  if (grey == nullptr) return nullptr;
  grey->SetImageTag(image->GetImageTag());
  NxRef<NxImageData> result = TakeOverImage(std::move(grey));
  result->SetOrientationAngle(image->GetOrientation());
  return result;
}

}  // namespace velmora::capture
