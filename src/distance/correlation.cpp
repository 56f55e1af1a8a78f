#include "distance/correlation.h"

#include <cmath>

namespace vtl {

float pearson_correlation(const float* x, const float* y, std::uint16_t n) {
  const float count = static_cast<float>(n);
  float sx = 0.0f;
  float sy = 0.0f;
  float sxy = 0.0f;
  float sxx = 0.0f;
  float syy = 0.0f;
  for (std::uint32_t i = 0; i < n; ++i) {
    sx = sx + x[i];
    sy = sy + y[i];
    sxy = sxy + x[i] * y[i];
    sxx = sxx + x[i] * x[i];
    syy = syy + y[i] * y[i];
  }
  const float num = sxy * count - sx * sy;
  const float vx = sxx * count - sx * sx;
  const float vy = syy * count - sy * sy;
  const float den = vx * vy;
  const float r = num / std::sqrt(den);
  // The first test fails for NaN too, so an undefined quotient joins the
  // overshoot above 1.
  if (!(1.0f >= r)) return 0.0f;
  if (r >= -1.0f) return r;
  return 0.0f;
}

float guarded_correlation(const float* x, const float* y, std::uint16_t n) {
  if (n < 2) return 1.0f;
  return pearson_correlation(x, y, n);
}

}  // namespace vtl
