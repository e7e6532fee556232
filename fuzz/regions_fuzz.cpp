#include "tests/support/operations/regions.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  velmora::testing::RunRegions(data, size);
  return 0;
}
