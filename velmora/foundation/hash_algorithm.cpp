#include "velmora/foundation/hash_algorithm.h"

namespace velmora {
namespace {

// Plain char is unsigned on some targets; the hash is not.
std::uint32_t SignExtended(char c) {
  return static_cast<std::uint32_t>(static_cast<signed char>(c));
}

constexpr std::uint32_t kPowers[] = {1, 31, 31 * 31, 31 * 31 * 31, 31 * 31 * 31 * 31};  // of 31

}  // namespace

std::uint32_t NxHashAlgorithm::BKDRHash(const char* data, std::uint32_t length) noexcept {
  const std::uint32_t step = (length >> 15) + 1;
  std::uint32_t hash = 0;
  // Counted in 64 bits: a position beyond the end must not wrap back to the start.
  const std::uint64_t end = length;
  const std::uint64_t fourSteps = std::uint64_t{4} * step;
  std::uint64_t i = 0;
  // Four characters at once: the products of one round do not wait for each other.
  for (; i + fourSteps <= end; i += fourSteps) {
    hash = hash * kPowers[4] + SignExtended(data[i]) * kPowers[3] +
           SignExtended(data[i + step]) * kPowers[2] +
           SignExtended(data[i + 2 * std::uint64_t{step}]) * kPowers[1] +
           SignExtended(data[i + 3 * std::uint64_t{step}]);
  }
  for (; i < end; i += step) hash = hash * kPowers[1] + SignExtended(data[i]);
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
