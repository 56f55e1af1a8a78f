#pragma once
// The element-wise distances, shared by vector_distance and the engine's
// measure; inline, because the measure runs for every pair of a learning pass.
// Not part of the folder's public header.

#include <cstdint>

#include "base/min_max.h"
#include "base/vector_primitives.h"
#include "distance/vector_distance.h"

namespace vtl::detail {

// n >= 1. Fills work[0 .. n - 1] with |x[i] - y[i]| and reduces it by kind.
inline float element_wise_distance(DistanceKind kind, const float* x, const float* y, float* work,
                                   std::uint32_t n) {
  // Two separate passes, as the differences are defined before the absolute
  // values: the result stays that of the plain loops even if work overlaps x or y.
  for (std::uint32_t i = 0; i < n; ++i) work[i] = x[i] - y[i];
  for (std::uint32_t i = 0; i < n; ++i) {
    work[i] = negate_if_negative(work[i]);  // NaN and -0.0 stay as they are
  }

  if (kind == DIST_CHEBYSHEV) {
    float m = work[0];
    for (std::uint32_t i = 1; i < n; ++i) {
      if (work[i] > m) m = work[i];
    }
    return m;
  }
  if (kind == DIST_MANHATTAN) {
    float s = work[0];
    for (std::uint32_t i = 1; i < n; ++i) s = s + work[i];
    // The device divides by n and multiplies back (two roundings), so the
    // result may differ from the plain sum in the last place; kept as it is.
    const float count = static_cast<float>(n);
    const float q = s / count;
    return count * q;
  }
  float s = 0.0f;
  vector_sum_squares(work, n, &s);
  float d = 0.0f;
  sqrt_or_zero(&d, s);
  return d;
}

}  // namespace vtl::detail
