// A recognition module of one's own: tells how bright each region is, as a number from 0 to 255.
//
//   cmake -B build -DCMAKE_PREFIX_PATH=PACKAGE && cmake --build build
//   cmake --install build --prefix PACKAGE
//   PACKAGE/bin/velmora-capture --template brightness.json FILE...
//
// No program is built anew: the template names the module, and the capture library loads it.

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>

#include "velmora_kit/recogniser.h"

namespace {

using velmora::kit::Corner;
using velmora::kit::GreyView;
using velmora::kit::RegionWork;
using velmora::kit::Settings;

using Histogram = std::array<std::int64_t, 256>;

std::int64_t CountOf(const Histogram& histogram) {
  std::int64_t count = 0;
  for (const std::int64_t pixels : histogram) count += pixels;
  return count;
}

int MedianOf(const Histogram& histogram) {
  const std::int64_t half = CountOf(histogram) / 2;
  std::int64_t below = 0;
  int value = 0;
  while (value < 255 && (below += histogram[static_cast<std::size_t>(value)]) <= half) ++value;
  return value;
}

int MeanOf(const Histogram& histogram) {
  std::int64_t sum = 0;
  for (std::size_t value = 0; value < histogram.size(); ++value) {
    sum += static_cast<std::int64_t>(value) * histogram[value];
  }
  return static_cast<int>(sum / std::max<std::int64_t>(CountOf(histogram), 1));
}

class Brightness final : public velmora::kit::Recogniser {
 public:
  explicit Brightness(Settings& settings)
      : Recogniser({"Grey"}),
        isMedian_(settings.GetChoice("Measure", {"Mean", "Median"}, "Mean") == "Median"),
        step_(settings.GetInt("Step", 1, 100, 1)) {}

 private:
  int Recognise(RegionWork& work) override {
    const GreyView pixels = work.GetPixels(work.GetWindow(0));
    Histogram histogram{};
    for (int y = 0; y < pixels.height; y += step_) {
      int code = 0;
      if (work.MustStop(code)) return code;
      for (int x = 0; x < pixels.width; x += step_) ++histogram[pixels.Row(y)[x]];
    }
    Corner corners[4];
    std::copy_n(work.GetRegion().GetVertices(), 4, corners);
    work.AddCode("Brightness", std::to_string(isMedian_ ? MedianOf(histogram) : MeanOf(histogram)),
                 corners);
    return 0;
  }

  const bool isMedian_;
  const int step_;  // rows and columns, between the pixels that count
};

}  // namespace

VELMORA_MODULE(Brightness)
