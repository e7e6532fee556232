// No image, whatever its fields say, makes a conversion touch memory that it was not given.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/operations/bytes.h"
#include "velmora/image/pixel_conversion.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace velmora;
  using namespace velmora::basic_structures;
  testing::Bytes input(data, size);
  const int width = input.Int();
  const int height = input.Int();
  const int stride = input.Int();
  const auto format = static_cast<ImagePixelFormat>(input.Below(18) - 1);
  const auto usage = static_cast<ColourChannelUsageType>(input.Below(8) - 1);
  // On the heap and of exactly this size, so that the address sanitizer sees a byte too far.
  const std::string rest = input.Rest();
  const std::vector<unsigned char> pixels(rest.begin(), rest.end());
  if (pixels.empty()) return 0;  // a length of 0 is unknown, and trusted

  const CImageData image(pixels.size(), pixels.data(), nullptr, width, height, stride, format, 0,
                         nullptr);
  const std::unique_ptr<CImageData> result(Nx_ConvertImageData(&image, usage));
  if (result == nullptr) return 0;
  unsigned long long sum = 0;
  for (unsigned long long i = 0; i < result->GetBytesLength(); ++i) sum += result->GetBytes()[i];
  if (result->GetWidth() != width || result->GetHeight() != height ||
      sum > 255ULL * 3 * (1U << 31)) {
    std::abort();
  }
  return 0;
}
