// The Base64 alphabet and the tables made from it at compile time.
#pragma once

#include <array>
#include <cstdint>

namespace velmora::internal {

inline constexpr char kBase64Alphabet[] =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

constexpr unsigned char kNotInAlphabet = 0xFE;
constexpr unsigned char kPadding = 0xFF;

constexpr std::array<unsigned char, 256> MakeBase64Values() {
  std::array<unsigned char, 256> values{};
  for (unsigned char& value : values) value = kNotInAlphabet;
  for (unsigned char i = 0; i < 64; ++i) {
    const unsigned char c = static_cast<unsigned char>(kBase64Alphabet[i]);
    values[c] = i;
    values[c | 0x80] = i;
  }
  values['='] = kPadding;
  values['=' | 0x80] = kPadding;
  return values;
}

// The value of each character; also through the high bit.
inline constexpr std::array<unsigned char, 256> kBase64Values = MakeBase64Values();

// What a padding character counts as where it does not keep its 0xFF.
constexpr unsigned char PaddingAsZero(unsigned char value) {
  return value > 254 ? static_cast<unsigned char>(0) : value;
}

// White space and the control characters 7 to 13: skipped in front of decoding.
constexpr bool IsSkippedInBase64(unsigned char c) {
  return (c >= 7 && c <= 13) || c == ' ';
}

}  // namespace velmora::internal
