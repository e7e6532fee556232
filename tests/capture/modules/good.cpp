// A module that tells by its work mode which folder it lies in.
#include "velmora_kit/recogniser.h"

namespace {

class Good final : public velmora::kit::Recogniser {
 public:
  explicit Good(velmora::kit::Settings&) : Recogniser({MODULE_MODE}) {}

 private:
  int Recognise(velmora::kit::RegionWork&) override { return 0; }
};

}  // namespace

VELMORA_MODULE(Good)
