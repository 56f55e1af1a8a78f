#include <gtest/gtest.h>

#include <cmath>

#include "distance/distance.h"
#include "test_util.h"

namespace vtl {
namespace {

TEST(PearsonCorrelation, RawSumsClampedToUnitRange) {
  struct Case { float x[3], y[3]; std::uint16_t n; float expected; };
  const Case cases[] = {
      {{1, 2, 3}, {2, 4, 6}, 3, 1.0f},
      {{1, 2, 3}, {3, 2, 1}, 3, -1.0f},
      // Large common offset: the raw sums cancel (the exact value is about -0.982).
      {{1000.5f, 1000.25f, 999.75f}, {1, 2, 3}, 3, -0.9185586f},
      {{1, 1, 1}, {1, 2, 3}, 3, 0.0f},  // constant: 0/0
      // The quotient overshoots to +-1.0000052 and is replaced on either side.
      {{0.1f, 0.2f}, {1.1f, 1.3f}, 2, 0.0f},
      {{0.1f, 0.2f}, {1.3f, 1.1f}, 2, 0.0f},
      {{4}, {-1}, 1, 0.0f},
  };
  for (const Case& c : cases) {
    EXPECT_FLOAT_BITS(c.expected, pearson_correlation(c.x, c.y, c.n));
    EXPECT_FLOAT_BITS(c.n < 2 ? 1.0f : c.expected, guarded_correlation(c.x, c.y, c.n));
  }
}

float dist(int kind, const float* x, const float* y, float* work, std::uint32_t n) {
  return vector_distance(static_cast<DistanceKind>(kind), x, y, work, n);
}

TEST(VectorDistance, ElementWiseKinds) {
  const float x[] = {3, -1, 2}, y[] = {1, 1, 1}, zero[] = {0, 0, 0}, tenth[] = {0.1f, 0, 0};
  const float nan_first[] = {test::kNaN, 1, 2}, nan_later[] = {1, test::kNaN, 2};
  float work[3] = {};
  EXPECT_FLOAT_BITS(2.0f, dist(DIST_CHEBYSHEV, x, y, work, 3));
  EXPECT_FLOAT_BITS(5.0f, dist(DIST_MANHATTAN, x, y, work, 3));
  for (int k : {2, 5, 17, 255}) EXPECT_FLOAT_BITS(3.0f, dist(k, x, y, work, 3));
  EXPECT_TRUE(work[0] == 2.0f && work[1] == 2.0f && work[2] == 1.0f);
  // Manhattan divides by n and multiplies back: two roundings.
  EXPECT_FLOAT_BITS(0.10000001f, dist(DIST_MANHATTAN, tenth, zero, work, 3));
  EXPECT_FLOAT_BITS(0.0f, dist(DIST_EUCLIDEAN, nan_first, zero, work, 3));
  EXPECT_TRUE(std::isnan(dist(DIST_CHEBYSHEV, nan_first, zero, work, 3)));
  EXPECT_FLOAT_BITS(2.0f, dist(DIST_CHEBYSHEV, nan_later, zero, work, 3));
}

TEST(VectorDistance, CorrelationCosineAndEmptyVectorsLeaveWorkAlone) {
  const float x[] = {1, 2, 3}, reversed[] = {3, 2, 1}, zero[] = {0, 0, 0};
  float work[3] = {-9, -9, -9};
  // The count is taken modulo 2^16: 65538 reads 2 elements, 65537 only 1.
  EXPECT_FLOAT_BITS(2.0f, dist(DIST_CORRELATION, x, reversed, work, 65538u));
  EXPECT_FLOAT_BITS(0.0f, dist(DIST_CORRELATION, x, reversed, work, 65537u));
  EXPECT_TRUE(std::isnan(dist(DIST_COSINE, x, zero, work, 3)));
  // Empty vectors are never read: 0.0 except for the cosine and the angle (0/0).
  for (int k : {0, 1, 2, 3, 9}) EXPECT_FLOAT_BITS(0.0f, dist(k, nullptr, nullptr, work, 0));
  EXPECT_TRUE(std::isnan(dist(DIST_COSINE, nullptr, nullptr, work, 0)));
  EXPECT_FLOAT_BITS(0.0f, measure_distance(0, 3, 2, nullptr, nullptr, work, 0));
  EXPECT_TRUE(std::isnan(measure_distance(1, 4, 1, nullptr, nullptr, work, 0)));
  for (float w : work) EXPECT_EQ(w, -9.0f);
}

float angle(const float* x, const float* y) { return measure_distance(0, 4, 1, x, y, nullptr, 3); }

TEST(MeasureDistance, DefaultPairAndAngleClamps) {
  const float ex[] = {1, 0, 0}, ey[] = {0, 1, 0}, opposite[] = {-2, 0, 0};
  const float x[] = {1, 2, 3}, y[] = {2, 4, 6}, zero[] = {0, 0, 0};
  float work[3];
  EXPECT_FLOAT_BITS(3.1415927f, measure_distance(1, 4, 1, ex, ey, work, 3));
  EXPECT_FLOAT_BITS(3.1415927f, angle(ex, opposite));  // cosine exactly -1
  // Parallel, but the cosine rounds to 0.99999994, one step below 1.
  EXPECT_FLOAT_BITS(std::acos(0.99999994f), angle(x, y));
  EXPECT_NEAR(measure_distance(1, 4, 1, x, y, work, 3), 0.0020716f, 1e-7f);
  EXPECT_TRUE(std::isnan(measure_distance(1, 4, 1, zero, y, work, 3)));
  // Cosines rounded to 1.0000001 and -1.0000001 are clamped.
  const float big[] = {5.5f, -2.25f, 1000}, minus_big[] = {-5.5f, 2.25f, -1000};
  EXPECT_FLOAT_BITS(0.0f, angle(big, big));
  EXPECT_FLOAT_BITS(3.1415927f, angle(big, minus_big));
}

TEST(MeasureDistance, CombineFlagAndSelectors) {
  const float x[] = {3, -1, 2}, y[] = {1, 1, 1}, zero[] = {0, 0, 0}, ones[] = {1, 1, 1};
  float work[3] = {-9, -9, -9};
  // Without the flag the second measure is not evaluated; the angle leaves work alone.
  EXPECT_TRUE(std::isnan(measure_distance(0, 4, 1, x, zero, work, 3)));
  EXPECT_EQ(work[0], -9.0f);
  EXPECT_FLOAT_BITS(6.0f, measure_distance(0, 1, 4, x, zero, work, 3));

  const float expected[] = {2, 5, 3, 1, std::acos(4.0f / (std::sqrt(14.0f) * std::sqrt(3.0f)))};
  auto pick = [&](int s) { return expected[s == 3 || s == 4 ? s : s > 2 ? 2 : s]; };
  for (int flag : {1, 255})
    for (int a : {0, 1, 2, 3, 4, 5, 255})
      for (int b : {0, 1, 2, 3, 4, 5, 255})
        EXPECT_FLOAT_BITS(pick(a) * pick(b), measure_distance(flag, a, b, x, y, work, 3));

  // Absolute correlation: 0 for anti-correlated, r = 1 below 2 elements (low 16 bits of n).
  const float inc[] = {1, 2, 3}, dec[] = {3, 2, 1};
  EXPECT_FLOAT_BITS(0.0f, measure_distance(0, 3, 0, inc, dec, nullptr, 3));
  for (std::uint32_t n : {1u, 65536u, 65537u})
    EXPECT_FLOAT_BITS(0.0f, measure_distance(0, 3, 0, inc, ones, nullptr, n));
}

}  // namespace
}  // namespace vtl
