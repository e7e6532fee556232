/// @file
/// Four integers.
#pragma once

#include <cstdint>

namespace velmora::basic_structures {

/// Four integers whose meaning is the user's. A plain value.
struct CVector4 {
  std::int32_t value[4] = {};

  CVector4() = default;
  CVector4(std::int32_t a, std::int32_t b, std::int32_t c, std::int32_t d) : value{a, b, c, d} {}

  void Set(std::int32_t a, std::int32_t b, std::int32_t c, std::int32_t d) {
    *this = CVector4(a, b, c, d);
  }

  /// The index is not checked.
  std::int32_t operator[](int index) const { return value[index]; }
  std::int32_t& operator[](int index) { return value[index]; }
};

}  // namespace velmora::basic_structures
