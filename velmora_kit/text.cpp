#include "velmora_kit/text.h"

#include <cstddef>

namespace velmora::kit {
namespace {

// The length of the valid sequence at the beginning of the bytes, or 0.
std::size_t SequenceLength(std::string_view bytes) {
  constexpr unsigned kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
  const unsigned lead = static_cast<unsigned char>(bytes[0]);
  if (lead < 0x80) return 1;
  if (lead < 0xC2 || lead > 0xF4) return 0;
  const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (length > bytes.size()) return 0;
  unsigned point = lead & (0x7FU >> length);
  for (std::size_t i = 1; i < length; ++i) {
    const unsigned next = static_cast<unsigned char>(bytes[i]);
    if ((next & 0xC0U) != 0x80) return 0;
    point = point << 6 | (next & 0x3FU);
  }
  const bool isSurrogate = point >= 0xD800 && point < 0xE000;
  return point < kLeast[length] || point > 0x10FFFF || isSurrogate ? 0 : length;
}

}  // namespace

bool IsUtf8(std::string_view bytes) {
  while (!bytes.empty()) {
    const std::size_t length = SequenceLength(bytes);
    if (length == 0) return false;
    bytes.remove_prefix(length);
  }
  return true;
}

std::string TextOf(std::string_view bytes) {
  if (IsUtf8(bytes)) return std::string(bytes);
  std::string text;
  for (const char c : bytes) {
    const unsigned point = static_cast<unsigned char>(c);
    if (point >= 0x80) text.push_back(static_cast<char>(0xC0U | point >> 6));
    text.push_back(static_cast<char>(point < 0x80 ? point : 0x80U | (point & 0x3FU)));
  }
  return text;
}

}  // namespace velmora::kit
