// The loops over rows, whichever set of vector instructions they use, through the conversions.
#include "tests/image/conversion_twin.h"

namespace velmora {
namespace {

using namespace basic_structures;
using namespace testing;

using Bytes = std::vector<unsigned char>;

enum Flag { kNone = 0, k565 = 1, kReversed = 2, kYuv = 4, kPalette = 8 };

struct Layout {
  int bits, flags;
};
constexpr Layout kLayouts[] = {
    {1, kPalette}, {4, kPalette},   {8, kNone},      {8, kPalette}, {16, kNone},
    {16, k565},    {24, kNone},     {24, kReversed}, {24, kYuv},    {24, kYuv | kReversed},
    {32, kNone},   {32, kReversed}, {48, kNone},     {64, kNone},   {64, kReversed}};

Bytes RandomBytes(std::size_t count) {
  std::mt19937 random(16);
  Bytes bytes(count);
  for (unsigned char& byte : bytes) byte = static_cast<unsigned char>(random() >> 24);
  return bytes;
}

ConvertData Descriptor(const Layout& layout, const unsigned char* bytes, int width, int height,
                       int stride, int usage = 0, bool bottomUp = false) {
  return {bytes,
          width,
          height,
          stride,
          layout.bits,
          0,
          0,
          bottomUp,
          (layout.flags & k565) != 0,
          (layout.flags & kReversed) != 0,
          (layout.flags & kYuv) != 0,
          static_cast<ColourChannelUsageType>(usage)};
}

Converted Read(CImageData* image) {
  const std::unique_ptr<const CImageData> owned(image);
  if (image == nullptr) return std::nullopt;
  return std::tuple(image->GetWidth(), image->GetHeight(), image->GetStride(),
                    image->GetImagePixelFormat(),
                    Bytes(image->GetBytes(), image->GetBytes() + image->GetBytesLength()));
}

// Rows of every length that begin anywhere and end with the memory that they are in: the address
// sanitizer sees a byte too far. Rows that touch are converted as one.
TEST(PixelConversionRows, OfEveryWidthEqualThePixelwiseTwin) {
  const Bytes random = RandomBytes(8192), palette = RandomBytes(768);
  for (const Layout& layout : kLayouts) {
    for (int width = 1; width <= 200; ++width) {
      for (int usage = 2; usage < 6; ++usage) {  // luminance, red, green, blue
        const int padding = (width + usage) % 3, start = (width + 2 * usage) % 5;
        const int stride = (width * (layout.flags & kYuv ? 8 : layout.bits) + 7) / 8 + padding;
        ConvertData data = Descriptor(layout, random.data() + start, width, 2, stride, usage,
                                      (width + usage) % 2 == 0);
        if (layout.flags & kPalette) data.palette = palette;
        ConversionTwin twin(data);
        const bool toColour = usage == 2 + width % 4;
        const Converted want = toColour ? twin.ToColour() : twin.ToGrey();
        const auto end = static_cast<std::ptrdiff_t>(start + twin.ReadEnd());
        const Bytes exact(random.begin(), random.begin() + end);
        data.bytes = exact.data() + start;
        EXPECT_EQ(Read(toColour ? Nx_ConvertToRGB(&data) : Nx_ConvertToGrayscale(&data)), want)
            << layout.bits << " bits, flags " << layout.flags << ", width " << width << ", usage "
            << usage << (toColour ? ", to colour" : ", to grey");
        if (HasFailure()) return;
      }
    }
  }
}

// Of 24 and 32 bits; what is beside the colour must not count.
TEST(PixelConversionRows, OfAllColoursHaveTheRightLuminance) {
  constexpr int kPerBlue = 256 * 256;
  for (const Layout& layout : {Layout{24, kNone}, {24, kReversed}, {32, kNone}, {32, kReversed}}) {
    const std::size_t step = static_cast<std::size_t>(layout.bits) / 8;
    const std::size_t red = layout.flags & kReversed ? 0 : 2;
    Bytes source(kPerBlue * step), want(kPerBlue);
    for (unsigned blue = 0; blue < 256; ++blue) {
      for (std::size_t i = 0; i < kPerBlue; ++i) {
        unsigned char* const pixel = &source[i * step];
        pixel[red] = static_cast<unsigned char>(i >> 8);
        pixel[1] = static_cast<unsigned char>(i);
        pixel[2 - red] = static_cast<unsigned char>(blue);
        if (step == 4) pixel[3] = static_cast<unsigned char>(i * 7 + blue);
        want[i] = static_cast<unsigned char>(
            (pixel[red] * 19562U + pixel[1] * 38550U + blue * 7424) >> 16);
      }
      ConvertData data = Descriptor(layout, source.data(), kPerBlue, 1, 0);
      const std::unique_ptr<const CImageData> image(Nx_ConvertToGrayscale(&data));
      ASSERT_EQ(std::memcmp(image->GetBytes(), want.data(), want.size()), 0)
          << layout.bits << " bits, flags " << layout.flags << ", blue " << blue;
    }
  }
}

}  // namespace
}  // namespace velmora
