#pragma once
// The single measures behind measure_distance, inline so that the engine's
// learning pass and scoring loop compile them into their own loops. Not part of
// the folder's public header.

#include <cmath>
#include <cstdint>

#include "base/constants.h"
#include "base/cr_math.h"
#include "distance/correlation.h"
#include "distance/cosine_ratio.h"
#include "distance/element_wise.h"

namespace vtl::detail {

// The norms of x and y, when the caller knows them already.
struct KnownNorms {
  float x;
  float y;
};

// The angle measure of a cosine. Rounding can push the cosine of
// (anti)parallel vectors just past +-1. Both tests are ordered, so a NaN
// cosine goes on to acosf and stays NaN.
inline float angle_of_cosine(float cosine) {
  if (cosine < -1.0f) return kPi;
  if (cosine > 1.0f) return 0.0f;
  return cr_acosf(cosine);
}

inline float angle(const float* x, const float* y, std::uint32_t n, const KnownNorms* norms) {
  return angle_of_cosine(norms != nullptr ? cosine_from_norms(x, y, n, norms->x, norms->y)
                                          : cosine_ratio(x, y, n));
}

inline float absolute_correlation_distance(const float* x, const float* y, std::uint32_t n) {
  const float r = guarded_correlation(x, y, static_cast<std::uint16_t>(n));
  return static_cast<float>(1.0 - std::fabs(static_cast<double>(r)));
}

// vector_distance for its element-wise kinds, without the call.
inline float element_wise(DistanceKind kind, const float* x, const float* y, float* work,
                          std::uint32_t n) {
  return n == 0 ? 0.0f : element_wise_distance(kind, x, y, work, n);
}

inline float one_measure(std::uint8_t selector, const float* x, const float* y, float* work,
                         std::uint32_t n, const KnownNorms* norms) {
  switch (selector) {
    case 0:
      return element_wise(DIST_CHEBYSHEV, x, y, work, n);
    case 1:
      return element_wise(DIST_MANHATTAN, x, y, work, n);
    case 3:
      return absolute_correlation_distance(x, y, n);
    case 4:
      return angle(x, y, n, norms);
    default:
      return element_wise(DIST_EUCLIDEAN, x, y, work, n);
  }
}

}  // namespace vtl::detail
