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

}  // namespace vtl
