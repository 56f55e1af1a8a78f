#include "distance/vector_distance.h"

#include "distance/correlation.h"
#include "distance/cosine_ratio.h"
#include "base/vector_primitives.h"

namespace vtl {

namespace {

float element_wise_distance(DistanceKind kind, const float* x, const float* y, float* work,
                            std::uint32_t n) {
  // Two separate passes, as the differences are defined before the absolute
  // values: the result stays that of the plain loops even if work overlaps x or y.
  for (std::uint32_t i = 0; i < n; ++i) work[i] = x[i] - y[i];
  for (std::uint32_t i = 0; i < n; ++i) {
    if (work[i] < 0.0f) work[i] = -work[i];  // NaN and -0.0 stay as they are
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

}  // namespace

float vector_distance(DistanceKind kind, const float* x, const float* y, float* work,
                      std::uint32_t n) {
  if (kind == DIST_CORRELATION) {
    const auto m = static_cast<std::uint16_t>(n);
    if (m < 2) return 0.0f;
    return 1.0f - pearson_correlation(x, y, m);
  }
  if (kind == DIST_COSINE) return 1.0f - detail::cosine_ratio(x, y, n);
  // Between two empty vectors there is no distance to cover.
  if (n == 0) return 0.0f;
  return element_wise_distance(kind, x, y, work, n);
}

}  // namespace vtl
