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
inline float cosine_ratio(const float* x, const float* y, std::uint32_t n) {
  float dot = 0.0f;
  for (std::uint32_t i = 0; i < n; ++i) dot = dot + x[i] * y[i];
  float sum = 0.0f;
  float nx = 0.0f;
  float ny = 0.0f;
  vector_sum_squares(x, n, &sum);
  sqrt_or_zero(&nx, sum);
  vector_sum_squares(y, n, &sum);
  sqrt_or_zero(&ny, sum);
  return dot / (nx * ny);
}

}  // namespace vtl::detail
