#include "fuzz/decoder_fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  velmora::capture::FuzzDecoder(velmora::capture::kBmpDecoder, data, size);
  return 0;
}
