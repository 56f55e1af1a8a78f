#pragma once
// Shared by the cosine distance and the angle measure; not part of the
// folder's public header.

#include <cstdint>

#include "base/vector_primitives.h"

namespace vtl::detail {

// dot(x, y) / (|x| |y|) in single precision: the dot product accumulated from
// 0.0 in index order, the norm of x before that of y (a NaN sum of squares
// gives a norm of 0), the product of the norms before the quotient. A zero
// vector, or n == 0, gives 0/0 = NaN.
// The Euclidean norm as the cosine takes it.
inline float norm_of(const float* x, std::uint32_t n) {
  float sum = 0.0f;
  float norm = 0.0f;
  vector_sum_squares(x, n, &sum);
  sqrt_or_zero(&norm, sum);
  return norm;
}

// The cosine when the two norms are known already.
inline float cosine_from_norms(const float* x, const float* y, std::uint32_t n, float nx,
                               float ny) {
  float dot = 0.0f;
  for (std::uint32_t i = 0; i < n; ++i) dot = dot + x[i] * y[i];
  return dot / (nx * ny);
}

inline float cosine_ratio(const float* x, const float* y, std::uint32_t n) {
  const float nx = norm_of(x, n);
  const float ny = norm_of(y, n);
  return cosine_from_norms(x, y, n, nx, ny);
}

}  // namespace vtl::detail
