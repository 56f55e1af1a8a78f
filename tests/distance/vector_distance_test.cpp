#include "distance/vector_distance.h"

#include <gtest/gtest.h>

#include <cmath>

#include "test_util.h"

namespace vtl {
namespace {

float distance(int kind, const float* x, const float* y, float* work, std::uint32_t n) {
  return vector_distance(static_cast<DistanceKind>(kind), x, y, work, n);
}

TEST(VectorDistance, ElementWiseKinds) {
  const float x[] = {3, -1, 2}, y[] = {1, 1, 1};
  float work[3] = {};
  EXPECT_FLOAT_BITS(2.0f, distance(DIST_CHEBYSHEV, x, y, work, 3));
  EXPECT_FLOAT_BITS(5.0f, distance(DIST_MANHATTAN, x, y, work, 3));
  for (int kind : {2, 5, 17, 255}) EXPECT_FLOAT_BITS(3.0f, distance(kind, x, y, work, 3));
  EXPECT_TRUE(work[0] == 2.0f && work[1] == 2.0f && work[2] == 1.0f);

  // Manhattan divides by n and multiplies back: two roundings.
  const float tenth[] = {0.1f, 0, 0}, zero[] = {0, 0, 0};
  EXPECT_FLOAT_BITS(0.10000001f, distance(DIST_MANHATTAN, tenth, zero, work, 3));
  EXPECT_FLOAT_BITS(0.1f, distance(DIST_CHEBYSHEV, tenth, zero, work, 3));
  EXPECT_FLOAT_BITS(0.1f, distance(DIST_EUCLIDEAN, tenth, zero, work, 3));

  const float nan_first[] = {test::kNaN, 1, 2}, nan_later[] = {1, test::kNaN, 2};
  EXPECT_FLOAT_BITS(0.0f, distance(DIST_EUCLIDEAN, nan_first, zero, work, 3));
  EXPECT_TRUE(std::isnan(distance(DIST_MANHATTAN, nan_first, zero, work, 3)));
  EXPECT_TRUE(std::isnan(distance(DIST_CHEBYSHEV, nan_first, zero, work, 3)));
  EXPECT_FLOAT_BITS(2.0f, distance(DIST_CHEBYSHEV, nan_later, zero, work, 3));
}

TEST(VectorDistance, CorrelationAndCosineLeaveWorkAlone) {
  const float x[] = {1, 2, 3}, swapped[] = {1, 3, 2}, reversed[] = {3, 2, 1}, zero[] = {0, 0, 0};
  float work[3] = {-9, -9, -9};
  EXPECT_FLOAT_BITS(0.5f, distance(DIST_CORRELATION, x, swapped, work, 3));
  EXPECT_FLOAT_BITS(2.0f, distance(DIST_CORRELATION, x, reversed, work, 3));
  EXPECT_FLOAT_BITS(0.0f, distance(DIST_CORRELATION, x, reversed, work, 1));
  // The count is taken modulo 2^16: 65538 reads 2 elements, 65537 only 1.
  EXPECT_FLOAT_BITS(2.0f, distance(DIST_CORRELATION, x, reversed, work, 65538u));
  EXPECT_FLOAT_BITS(0.0f, distance(DIST_CORRELATION, x, reversed, work, 65537u));
  const float four[] = {4}, minus_one[] = {-1};
  EXPECT_FLOAT_BITS(2.0f, distance(DIST_COSINE, four, minus_one, work, 1));
  EXPECT_TRUE(std::isnan(distance(DIST_COSINE, x, zero, work, 3)));
  for (float w : work) EXPECT_EQ(w, -9.0f);
}

TEST(VectorDistance, EmptyVectorsReadNothing) {
  float work[1] = {7};
  for (int kind : {0, 1, 2, 3, 9}) EXPECT_FLOAT_BITS(0.0f, distance(kind, nullptr, nullptr, work, 0));
  EXPECT_TRUE(std::isnan(distance(DIST_COSINE, nullptr, nullptr, work, 0)));
  EXPECT_EQ(work[0], 7.0f);
}

}  // namespace
}  // namespace vtl
