#include "distance/vector_distance.h"

#include "distance/correlation.h"
#include "distance/cosine_ratio.h"
#include "distance/element_wise.h"

namespace vtl {

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
  return detail::element_wise_distance(kind, x, y, work, n);
}

}  // namespace vtl
