// A module whose work is a chain of two work objects, and which fails on demand.
#include <stdexcept>
#include <string>
#include <vector>

#include "velmora_kit/recogniser.h"

namespace {

class Link : public velmora::kit::Recogniser {
 public:
  explicit Link(const std::vector<std::string>& workModes) : Recogniser(workModes) {}

 private:
  int Recognise(velmora::kit::RegionWork&) override { return 0; }
};

class Chain final : public Link {
 public:
  explicit Chain(velmora::kit::Settings& settings) : Link({"a", "b"}) {
    if (settings.GetBool("Fails", false)) throw std::runtime_error("out of luck");
    SetNextWorkObject(new Link({"b", "c"}));
  }
};

}  // namespace

VELMORA_MODULE(Chain)
