// Any text decodes within its bounds, and what was decoded survives the way back.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "velmora/util/base64.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using velmora::CBase64;
  std::vector<unsigned char> text(data, data + size);
  CBase64 decoder;
  decoder.Decode(text.data(), text.size());
  unsigned long count = 0;
  const unsigned char* decoded = decoder.DecodedMessage(&count);
  const std::vector<unsigned char> bytes(decoded, decoded + count);

  std::vector<unsigned char> source = bytes;
  CBase64 codec;
  const unsigned long length = codec.Encode(source.data(), count);
  if (length != (count + 2) / 3 * 4) std::abort();
  const char* encoded = codec.EncodedMessage();
  std::vector<unsigned char> again(encoded, encoded + length);
  codec.Decode(again.data(), length);
  unsigned long countAgain = 0;
  const unsigned char* decodedAgain = codec.DecodedMessage(&countAgain);
  if (countAgain != count || !std::equal(bytes.begin(), bytes.end(), decodedAgain)) std::abort();
  return 0;
}
