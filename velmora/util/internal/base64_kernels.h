// The parts of a text and of its bytes that vector instructions can convert.
#pragma once

#include <cstddef>

namespace velmora::internal {

// Both convert groups from the beginning on, any number of them: what is left, no kernel has done.
struct Base64Kernels {
  // From three bytes to four characters. Returns how many bytes were converted.
  std::size_t (*encode)(const unsigned char* bytes, std::size_t length, unsigned char* text);

  // From four characters of the alphabet to three bytes; copies the characters to `kept`, which
  // may be `text` itself or lie before it. Returns how many characters were converted. Writes no
  // byte beyond those that they make.
  std::size_t (*decode)(const unsigned char* text, std::size_t length, unsigned char* kept,
                        unsigned char* decoded);
};

// Those of the chosen set of vector instructions. The plain set converts nothing.
const Base64Kernels& ChosenBase64Kernels();

}  // namespace velmora::internal
