/// @file
/// The text ids by which images, quadrilaterals, regions and task outputs are known.
#pragma once

#include <cstdint>
#include <string>

#include "velmora/foundation/array.h"
#include "velmora/platform/export.h"

namespace velmora {

/// Hash ids. Fast and stable across targets, not cryptographic: inputs of 32,768 bytes or more are
/// sampled, every (length / 32768 + 1)-th byte, so that naming a large image costs microseconds.
///
/// @threadsafety any thread
class VELMORA_EXPORT NxHashAlgorithm {
 public:
  /// The BKDR hash with multiplier 31 (the string hash of Kernighan and Ritchie's "The C
  /// Programming Language"), over signed chars, in 32-bit wrapping arithmetic, top bit cleared.
  /// @param data  @p length bytes; may be null if @p length is 0
  /// @return 0 to 0x7FFFFFFF; 0 for no bytes
  static std::uint32_t BKDRHash(const char* data, std::uint32_t length) noexcept;

  /// @return "BKDR_" and the decimal digits of `BKDRHash`
  static std::string Generate_BKDRHash(const void* data, std::uint32_t length);

  /// The text of `Generate_BKDRHash` as a new C string.
  static NxArrayRef<char> GenerateHash(const void* data, std::uint32_t length);
};

}  // namespace velmora
