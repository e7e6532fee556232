// Arithmetic with the same result on every target, defined over the whole range of its operands.
#pragma once

#include <cstdint>
#include <limits>

namespace velmora::internal {

// Two's complement arithmetic modulo 2^32 or 2^64: the unsigned types wrap by definition, the
// signed ones would be undefined.
constexpr std::int32_t WrapAdd(std::int32_t a, std::int32_t b) noexcept {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b));
}
constexpr std::int32_t WrapSub(std::int32_t a, std::int32_t b) noexcept {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) - static_cast<std::uint32_t>(b));
}
constexpr std::int32_t WrapMul(std::int32_t a, std::int32_t b) noexcept {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) * static_cast<std::uint32_t>(b));
}
constexpr std::int64_t WrapAdd(std::int64_t a, std::int64_t b) noexcept {
  return static_cast<std::int64_t>(static_cast<std::uint64_t>(a) + static_cast<std::uint64_t>(b));
}
constexpr std::int64_t WrapSub(std::int64_t a, std::int64_t b) noexcept {
  return static_cast<std::int64_t>(static_cast<std::uint64_t>(a) - static_cast<std::uint64_t>(b));
}
constexpr std::int64_t WrapMul(std::int64_t a, std::int64_t b) noexcept {
  return static_cast<std::int64_t>(static_cast<std::uint64_t>(a) * static_cast<std::uint64_t>(b));
}

// Toward zero. NaN and whatever does not fit give the most negative int, on every target.
constexpr std::int32_t TruncateToInt(double value) noexcept {
  return value > -2147483649.0 && value < 2147483648.0 ? static_cast<std::int32_t>(value)
                                                       : std::numeric_limits<std::int32_t>::min();
}

// To the nearest int, halves away from zero; out of range as `TruncateToInt`. A float operand is
// exact here: the half is added in double.
constexpr std::int32_t RoundHalfAwayFromZero(double value) noexcept {
  return TruncateToInt(value > 0 ? value + 0.5 : value - 0.5);
}

// Conversions that round to nearest, spelled so that the loss is visible.
constexpr float ToFloat(std::int32_t value) noexcept {
  return static_cast<float>(value);
}
constexpr float ToFloat(std::int64_t value) noexcept {
  return static_cast<float>(value);
}
constexpr float ToFloat(double value) noexcept {
  return static_cast<float>(value);
}

}  // namespace velmora::internal
