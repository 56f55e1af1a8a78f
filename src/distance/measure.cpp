#include "distance/measure.h"

#include <cmath>

#include "base/constants.h"
#include "base/cr_math.h"
#include "distance/correlation.h"
#include "distance/cosine_ratio.h"
#include "distance/element_wise.h"

namespace vtl {

namespace {

// The norms of x and y, when the caller knows them already.
struct KnownNorms {
  float x;
  float y;
};

float angle(const float* x, const float* y, std::uint32_t n, const KnownNorms* norms) {
  const float cosine = norms != nullptr ? detail::cosine_from_norms(x, y, n, norms->x, norms->y)
                                        : detail::cosine_ratio(x, y, n);
  // Rounding can push the cosine of (anti)parallel vectors just past +-1.
  // Both tests are ordered, so a NaN cosine goes on to acosf and stays NaN.
  if (cosine < -1.0f) return kPi;
  if (cosine > 1.0f) return 0.0f;
  return cr_acosf(cosine);
}

float absolute_correlation_distance(const float* x, const float* y, std::uint32_t n) {
  const float r = guarded_correlation(x, y, static_cast<std::uint16_t>(n));
  return static_cast<float>(1.0 - std::fabs(static_cast<double>(r)));
}

// vector_distance for its element-wise kinds, without the call.
float element_wise(DistanceKind kind, const float* x, const float* y, float* work,
                   std::uint32_t n) {
  return n == 0 ? 0.0f : detail::element_wise_distance(kind, x, y, work, n);
}

float one_measure(std::uint8_t selector, const float* x, const float* y, float* work,
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

}  // namespace

float measure_distance(std::uint8_t combine, std::uint8_t measure_a, std::uint8_t measure_b,
                       const float* x, const float* y, float* work, std::uint32_t n) {
  const float first = one_measure(measure_a, x, y, work, n, nullptr);
  if (combine == 0) return first;
  const float second = one_measure(measure_b, x, y, work, n, nullptr);
  return first * second;
}

float angle_norm(const float* x, std::uint32_t n) { return detail::norm_of(x, n); }

float combined_distance_known_norms(std::uint8_t measure_a, std::uint8_t measure_b, const float* x,
                                    const float* y, float x_norm, float y_norm, float* work,
                                    std::uint32_t n) {
  const KnownNorms norms{x_norm, y_norm};
  const float first = one_measure(measure_a, x, y, work, n, &norms);
  const float second = one_measure(measure_b, x, y, work, n, &norms);
  return first * second;
}

}  // namespace vtl
