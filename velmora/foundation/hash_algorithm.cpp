#include "velmora/foundation/hash_algorithm.h"

namespace velmora {
namespace {

// Plain char is unsigned on some targets; the hash is not.
std::uint32_t SignExtended(char c) {
  return static_cast<std::uint32_t>(static_cast<signed char>(c));
}

}  // namespace

std::uint32_t NxHashAlgorithm::BKDRHash(const char* data, std::uint32_t length) noexcept {
  const std::uint32_t step = (length >> 15) + 1;
  std::uint32_t hash = 0;
  // Counted in 64 bits: a position beyond the end must not wrap back to the start.
  for (std::uint64_t i = 0; i < length; i += step) hash = hash * 31 + SignExtended(data[i]);
  return hash & 0x7FFFFFFFU;
}

std::string NxHashAlgorithm::Generate_BKDRHash(const void* data, std::uint32_t length) {
  return "BKDR_" + std::to_string(BKDRHash(static_cast<const char*>(data), length));
}

NxArrayRef<char> NxHashAlgorithm::GenerateHash(const void* data, std::uint32_t length) {
  const std::string text = Generate_BKDRHash(data, length);
  return new NxArray<char>(text.data(), static_cast<std::uint32_t>(text.size()));
}

}  // namespace velmora
