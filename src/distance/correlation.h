#pragma once
// Pearson correlation coefficient of two vectors, from raw sums in one pass.

#include <cstdint>

namespace vtl {

// The coefficient of x and y over n elements, computed in single precision
// from the five raw sums (not from deviations about the mean, so large common
// offsets cost precision). Always in [-1, 1]: an undefined coefficient (a
// constant vector, n < 2, a negative variance product from cancellation) and a
// quotient pushed past +-1 by rounding both come back as 0.0.
float pearson_correlation(const float* x, const float* y, std::uint16_t n);

// 1.0 when n < 2 (too few elements to correlate), else pearson_correlation.
float guarded_correlation(const float* x, const float* y, std::uint16_t n);

}  // namespace vtl
