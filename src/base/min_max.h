#pragma once
// Minimum and maximum with one answer on every compiler and optimisation level.
// They keep the C rule for NaN (a number wins over a NaN; two NaNs give the
// second) and settle what the C functions leave open, the sign of a zero result:
// the minimum of -0 and +0 is -0, the maximum is +0, in either order.

#include <bit>
#include <cstdint>

#include "base/exact_float.h"

namespace vtl {

namespace detail {
inline bool sign_bit(float x) { return (std::bit_cast<std::uint32_t>(x) >> 31) != 0; }
inline bool sign_bit(double x) { return (std::bit_cast<std::uint64_t>(x) >> 63) != 0; }

template <typename T>
inline T min_of(T a, T b) {
  if (a != a) return b;
  if (b != b) return a;
  if (a < b) return a;
  if (b < a) return b;
  return sign_bit(a) ? a : b;  // equal: differ at most in the sign of a zero
}

template <typename T>
inline T max_of(T a, T b) {
  if (a != a) return b;
  if (b != b) return a;
  if (a > b) return a;
  if (b > a) return b;
  return sign_bit(a) ? b : a;
}
}  // namespace detail

// Stand in for fminf, fmaxf and fmax.
inline float float_min(float a, float b) { return detail::min_of(a, b); }
inline float float_max(float a, float b) { return detail::max_of(a, b); }
inline double double_max(double a, double b) { return detail::max_of(a, b); }

// x < 0 ? -x : x, the ordered test of the distance measures, so that NaN and
// -0.0 keep their sign. Done on the bits: the sign of a coordinate difference is
// random, and a branch on it would be mispredicted half the time.
inline float negate_if_negative(float x) {
  const std::uint32_t flip = x < 0.0f ? 0x80000000u : 0u;
  return std::bit_cast<float>(std::bit_cast<std::uint32_t>(x) ^ flip);
}

}  // namespace vtl
