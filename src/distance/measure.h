#pragma once
// The distance through which the engine compares signals and cluster centers:
// one measure, or the product of two, each picked by an 8-bit selector.
//
// Selectors: 0 Chebyshev, 1 Manhattan, 2 Euclidean (element-wise, through
// vector_distance; they overwrite work[0..n-1] with |x[i] - y[i]|),
// 3 absolute-correlation distance 1 - |r| (r from guarded_correlation over the
// low 16 bits of n, computed in double), 4 the angle between x and y in
// radians, 5 to 255 Euclidean. Measures 3 and 4 leave work untouched.

#include <cstdint>

#include "distance/measure_detail.h"

namespace vtl {

// With combine == 0, the measure of measure_a alone (measure_b is not
// evaluated); otherwise measure_a's times measure_b's, one float product.
// A zero vector gives a NaN angle; n == 0 gives 0.0 for the element-wise
// measures, 1 - |1| = 0.0 for selector 3 and NaN for the angle, and reads
// nothing from the vectors.
float measure_distance(std::uint8_t combine, std::uint8_t measure_a, std::uint8_t measure_b,
                       const float* x, const float* y, float* work, std::uint32_t n);

// The Euclidean norm of x as the angle measure computes it: the square root of
// the sum of squares in index order, 0 when that sum is NaN.
inline float angle_norm(const float* x, std::uint32_t n) { return detail::norm_of(x, n); }

// measure_distance(1, measure_a, measure_b, x, y, work, n) when angle_norm of x
// and of y are known already: the same value and the same writes to work, bit
// for bit, without measuring the norms again. The engine keeps the norms of its
// cluster centers, which change far less often than they are compared.
// Inline: it is the inner step of the learning pass and of scoring.
inline float combined_distance_known_norms(std::uint8_t measure_a, std::uint8_t measure_b,
                                           const float* x, const float* y, float x_norm,
                                           float y_norm, float* work, std::uint32_t n) {
  const detail::KnownNorms norms{x_norm, y_norm};
  const float first = detail::one_measure(measure_a, x, y, work, n, &norms);
  const float second = detail::one_measure(measure_b, x, y, work, n, &norms);
  return first * second;
}

}  // namespace vtl
