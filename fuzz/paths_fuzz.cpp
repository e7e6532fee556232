#include "tests/support/operations/paths.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  velmora::testing::RunPaths(data, size);
  return 0;
}
