// The module Poison of the fault run: ends the process on a marked picture, and takes a while on
// every other.
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <thread>

#include "velmora_kit/recogniser.h"

namespace velmora::modules {

using namespace kit;

namespace {

class Poison : public Recogniser {
 public:
  explicit Poison(Settings& settings)
      : Recogniser({"Only"}), delay_(settings.GetInt("DelayMs", 0, 10'000, 0)) {}

 private:
  int Recognise(RegionWork& work) override {
    const GreyView pixels = work.GetPixels(work.GetWindow(0));
    constexpr std::uint8_t kMark[] = {222, 173, 190, 239};
    if (pixels.width >= 4 && pixels.height >= 1 && std::equal(kMark, kMark + 4, pixels.Row(0))) {
      std::abort();
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(delay_));
    return 0;
  }

  int delay_;
};

}  // namespace
}  // namespace velmora::modules

VELMORA_MODULE(velmora::modules::Poison)
