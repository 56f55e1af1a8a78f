#pragma once
// Distances between two vectors of n floats, picked by a kind code.

#include <cstdint>

namespace vtl {

// Compared for equality only; every 8-bit value is valid and 5 to 255 behave
// as DIST_EUCLIDEAN.
enum DistanceKind : std::uint8_t {
  DIST_CHEBYSHEV = 0,
  DIST_MANHATTAN = 1,
  DIST_EUCLIDEAN = 2,
  DIST_CORRELATION = 3,
  DIST_COSINE = 4,
};

// The element-wise kinds (0, 1, 2, 5..255) first fill work[0..n-1] with
// |x[i] - y[i]| and reduce it: Chebyshev the largest (the first of equal
// maxima, a NaN only when first), Manhattan n * (sum / n) (two roundings, so
// it may differ from the plain sum in the last place), Euclidean the square
// root of the sum of squares (0 when that sum is NaN). For n == 0 they return
// 0.0 and read or write nothing.
//
// DIST_CORRELATION is 1 - pearson_correlation over the low 16 bits of n (0.0
// when those give fewer than 2 elements); DIST_COSINE is 1 - x.y / (|x| |y|),
// unclamped, NaN for a zero vector or n == 0. Neither touches work.
float vector_distance(DistanceKind kind, const float* x, const float* y, float* work,
                      std::uint32_t n);

}  // namespace vtl
