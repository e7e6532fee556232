#include "modules/code_reader/gs1.h"

#include <algorithm>
#include <cstddef>

namespace velmora::modules {
namespace {

constexpr char kSeparator = '\x1d';
constexpr std::size_t kLongest = 90;  // of all data that no table limits

// Identifiers with data of a fixed length, which is all digits and needs no separator after it.
struct Fixed {
  std::string_view begin;  // the identifier, or its first two digits
  std::size_t identifier;  // its length
  std::size_t digits;
};
constexpr Fixed kFixed[] = {
    {"00", 2, 18}, {"01", 2, 14}, {"02", 2, 14}, {"03", 2, 14}, {"11", 2, 6}, {"12", 2, 6},
    {"13", 2, 6},  {"15", 2, 6},  {"16", 2, 6},  {"17", 2, 6},  {"20", 2, 2}, {"31", 4, 6},
    {"32", 4, 6},  {"33", 4, 6},  {"34", 4, 6},  {"35", 4, 6},  {"36", 4, 6}, {"41", 3, 13}};

bool AreDigits(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// Takes one element off the text.
bool TakeElement(std::string_view& text) {
  if (text.size() < 3 || !AreDigits(text.substr(0, 2))) return false;
  for (const Fixed& fixed : kFixed) {
    if (text.substr(0, 2) != fixed.begin) continue;
    const std::size_t length = fixed.identifier + fixed.digits;
    if (text.size() < length || !AreDigits(text.substr(0, length))) return false;
    text.remove_prefix(length);
    return true;
  }
  const std::size_t length = std::min(text.find(kSeparator), text.size());
  if (length > kLongest) return false;
  text.remove_prefix(length);
  return true;
}

}  // namespace

bool IsGs1(std::string_view text) {
  if (text.empty()) return false;
  while (!text.empty()) {
    if (!TakeElement(text)) return false;
    if (!text.empty() && text.front() == kSeparator) text.remove_prefix(1);
  }
  return true;
}

}  // namespace velmora::modules
