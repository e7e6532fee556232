// The module Sharpness: tells how sharp each region is, as a number from 0 to 255. A small complete
// module to begin one's own from; docs/writing-a-module.md goes through it line by line.

#include <algorithm>
#include <cstdlib>

#include "velmora_kit/recogniser.h"

namespace velmora::modules {

using namespace kit;

namespace {

class Sharpness : public Recogniser {
 public:
  // Work modes are tried in turn until one finds something; this module has a single one.
  explicit Sharpness(Settings& settings)
      : Recogniser({"Gradient"}), least_(settings.GetInt("Least", 0, 255, 0)) {}

 private:
  int Recognise(RegionWork& work) override {
    const GreyView pixels = work.GetPixels(work.GetWindow(0));
    int steepest = 0;
    for (int y = 0; y < pixels.height; ++y) {
      int code = 0;
      if (y % 64 == 0 && work.MustStop(code)) return code;
      const std::uint8_t* row = pixels.Row(y);
      for (int x = 1; x < pixels.width; ++x) {
        steepest = std::max(steepest, std::abs(row[x] - row[x - 1]));
      }
    }
    if (steepest < least_) return 0;
    Corner corners[4];
    std::copy_n(work.GetRegion().GetVertices(), 4, corners);
    work.AddCode("Sharpness", std::to_string(steepest), corners);
    return 0;
  }

  int least_;
};

}  // namespace
}  // namespace velmora::modules

// The two functions that a module exports.
VELMORA_MODULE(velmora::modules::Sharpness)
