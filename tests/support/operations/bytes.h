// Bytes as a script: the interpreters of this folder read calls, and what to call with, out of any
// bytes. A byte, not a bit, chooses, so that a fuzzer that changes one byte changes one decision.
#pragma once

#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <string>

namespace velmora::testing {

// After the last byte everything is 0.
class Bytes {
 public:
  Bytes(const std::uint8_t* bytes, std::size_t size) : next_(bytes), end_(bytes + size) {}

  bool IsEmpty() const { return next_ == end_; }
  std::uint8_t Byte() { return IsEmpty() ? std::uint8_t{0} : *next_++; }
  bool Coin() { return Byte() % 2 != 0; }

  // From 0 to limit - 1, for limits up to 256.
  int Below(int limit) { return Byte() % limit; }

  // Mostly small, sometimes at an edge of its type, sometimes anything.
  int Int() {
    constexpr int kEdges[] = {INT_MIN, INT_MAX, INT_MIN + 1, INT_MAX - 1,
                              0xFFFF,  0x10000, 1023,        -1};
    const int byte = Byte();
    if (byte < 224) return byte - 32;
    if (byte < 248) return kEdges[static_cast<std::size_t>(byte) % std::size(kEdges)];
    std::uint32_t value = 0;
    for (int i = 0; i < 4; ++i) value = value << 8 | Byte();
    return static_cast<int>(value);
  }

  // At most `longest` bytes, up to 255, without a zero.
  std::string Text(int longest) {
    std::string text;
    for (int length = Below(longest + 1); length > 0 && !IsEmpty(); --length) {
      if (const char byte = static_cast<char>(Byte())) text += byte;
    }
    return text;
  }

  // All that is left, zeros included.
  std::string Rest() {
    std::string rest(next_, end_);
    next_ = end_;
    return rest;
  }

 private:
  const std::uint8_t* next_;
  const std::uint8_t* end_;
};

// Ends the process at a wrong answer: a fuzzer, a soak run and a test all notice that.
#define VELMORA_REQUIRE(condition)                                                       \
  do {                                                                                   \
    if (!(condition)) {                                                                  \
      std::fprintf(stderr, "%s:%d: wrong answer: %s\n", __FILE__, __LINE__, #condition); \
      std::abort();                                                                      \
    }                                                                                    \
  } while (false)

}  // namespace velmora::testing
