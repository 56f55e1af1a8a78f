#pragma once
// Small single-precision vector routines shared by the distance measures and the
// signal routines. Sums run in index order, one addition at a time.
//
// The reductions need at least one element. For n == 0 they read nothing:
// vector_sum_squares writes 0, vector_mean writes NaN (an empty mean), and
// find_max writes NaN at index 0.

#include <cstdint>

#include "base/exact_float.h"

namespace vtl {

void vector_mean(const float* v, std::uint32_t n, float* out);
void find_max(const float* v, std::uint32_t n, float* out_value, std::uint32_t* out_index);

void vector_copy(const float* src, float* dst, std::uint32_t n);
void vector_add_scalar(const float* src, float* dst, std::uint32_t n, float s);
void vector_add(const float* a, const float* b, float* dst, std::uint32_t n);
void vector_sub(const float* a, const float* b, float* dst, std::uint32_t n);
void vector_scale(const float* src, float* dst, std::uint32_t n, float s);

float abs_float(float x);

// Inline: the distance measures call these for every pair of a learning pass.
// The running sum is stored through `out` after every step, as the device
// does; the result is the same, and an `out` that aliases v then reads the
// device's values.
inline void vector_sum_squares(const float* v, std::uint32_t n, float* out) {
  if (n == 0) {
    *out = 0.0f;
    return;
  }
  float acc = v[0] * v[0];
  *out = acc;
  for (std::uint32_t i = 1; i < n; ++i) {
    acc = acc + v[i] * v[i];
    *out = acc;
  }
}

// The square root of x, or 0 for a negative or NaN x.
inline void sqrt_or_zero(float* out, float x) { *out = x >= 0.0f ? __builtin_sqrtf(x) : 0.0f; }

}  // namespace vtl
