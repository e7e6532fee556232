#include "tests/support/operations/template.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  velmora::testing::RunTemplate(data, size);
  return 0;
}
