#include "tests/support/operations/image_source.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  velmora::testing::RunImageSource(data, size);
  return 0;
}
