// A module that never returns, and says so when it begins.
#include <chrono>
#include <iostream>
#include <thread>

#include "velmora_kit/recogniser.h"

namespace {

class Endless final : public velmora::kit::Recogniser {
 public:
  explicit Endless(velmora::kit::Settings&) : Recogniser({"Only"}) {}

 private:
  int Recognise(velmora::kit::RegionWork&) override {
    std::cerr << "endless" << std::endl;
    for (;;) std::this_thread::sleep_for(std::chrono::hours(1));
  }
};

}  // namespace

VELMORA_MODULE(Endless)
