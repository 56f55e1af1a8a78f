#include "distance/measure.h"

#include <gtest/gtest.h>

#include <cmath>

#include "distance/vector_distance.h"
#include "test_util.h"

namespace vtl {
namespace {

float default_pair(const float* x, const float* y) {
  float work[3];
  return measure_distance(1, 4, 1, x, y, work, 3);
}

float angle(const float* x, const float* y) { return measure_distance(0, 4, 1, x, y, nullptr, 3); }

TEST(MeasureDistance, DefaultPairIsAngleTimesManhattan) {
  const float ex[] = {1, 0, 0}, ey[] = {0, 1, 0};
  EXPECT_FLOAT_BITS(1.5707964f, angle(ex, ey));
  EXPECT_FLOAT_BITS(3.1415927f, default_pair(ex, ey));

  // Parallel, but the cosine rounds to 0.99999994, one step below 1.
  const float x[] = {1, 2, 3}, y[] = {2, 4, 6}, zero[] = {0, 0, 0};
  EXPECT_FLOAT_BITS(std::acos(0.99999994f), angle(x, y));
  EXPECT_NEAR(angle(x, y), 0.00034527f, 1e-8f);
  EXPECT_FLOAT_BITS(angle(x, y) * 6.0f, default_pair(x, y));
  EXPECT_NEAR(default_pair(x, y), 0.0020716f, 1e-7f);

  EXPECT_FLOAT_BITS(0.0f, default_pair(x, x));
  EXPECT_TRUE(std::isnan(default_pair(x, zero)));
  EXPECT_TRUE(std::isnan(default_pair(zero, y)));
}

TEST(MeasureDistance, AngleClampsRoundedCosines) {
  const float x[] = {5.5f, -2.25f, 1000}, minus_x[] = {-5.5f, 2.25f, -1000};
  float work[3];
  // Its cosine with itself rounds above 1, as its negative cosine distance shows.
  ASSERT_LT(vector_distance(DIST_COSINE, x, x, work, 3), 0.0f);
  EXPECT_FLOAT_BITS(0.0f, angle(x, x));
  EXPECT_FLOAT_BITS(3.1415927f, angle(x, minus_x));
  const float unit[] = {1, 0, 0}, opposite[] = {-2, 0, 0};  // cosine exactly -1
  EXPECT_FLOAT_BITS(3.1415927f, angle(unit, opposite));
}

TEST(MeasureDistance, CombineFlagAndSelectors) {
  const float x[] = {3, -1, 2}, y[] = {1, 1, 1}, zero[] = {0, 0, 0};
  float work[3] = {-9, -9, -9};
  // Without the flag the second measure is not evaluated, and the angle leaves work alone.
  EXPECT_TRUE(std::isnan(measure_distance(0, 4, 1, x, zero, work, 3)));
  for (float w : work) EXPECT_EQ(w, -9.0f);
  EXPECT_FLOAT_BITS(6.0f, measure_distance(0, 1, 4, x, zero, work, 3));
  EXPECT_FLOAT_BITS(3.0f, work[0]);

  const float expected[] = {2, 5, 3, 1, std::acos(4.0f / (std::sqrt(14.0f) * std::sqrt(3.0f))), 3};
  for (int s : {0, 1, 2, 3, 4, 5, 128, 255}) {
    EXPECT_FLOAT_BITS(expected[s > 5 ? 5 : s], measure_distance(0, s, 4, x, y, work, 3)) << s;
  }
  for (std::uint8_t flag : {1, 255}) {
    for (std::uint8_t a = 0; a <= 5; ++a) {
      for (std::uint8_t b = 0; b <= 5; ++b) {
        EXPECT_FLOAT_BITS(expected[a] * expected[b], measure_distance(flag, a, b, x, y, work, 3));
      }
    }
  }
}

TEST(MeasureDistance, AbsoluteCorrelationSelector) {
  const float x[] = {1, 2, 3}, reversed[] = {3, 2, 1}, swapped[] = {1, 3, 2}, ones[] = {1, 1, 1};
  const float offset[] = {1000.5f, 1000.25f, 999.75f}, with_nan[] = {test::kNaN, 2, 3};
  auto measure = [](const float* a, const float* b, std::uint32_t n) {
    return measure_distance(0, 3, 0, a, b, nullptr, n);
  };
  EXPECT_FLOAT_BITS(0.0f, measure(x, reversed, 3));
  EXPECT_FLOAT_BITS(0.5f, measure(x, swapped, 3));
  EXPECT_FLOAT_BITS(1.0f, measure(ones, x, 3));
  EXPECT_FLOAT_BITS(1.0f, measure(with_nan, x, 3));
  EXPECT_FLOAT_BITS(static_cast<float>(1.0 - 0.9185586f), measure(offset, x, 3));
  for (std::uint32_t n : {0u, 1u, 65536u, 65537u}) EXPECT_FLOAT_BITS(0.0f, measure(x, ones, n));
}

TEST(MeasureDistance, EmptyVectorsReadNothing) {
  float work[1] = {7};
  EXPECT_FLOAT_BITS(0.0f, measure_distance(1, 1, 2, nullptr, nullptr, work, 0));
  EXPECT_TRUE(std::isnan(measure_distance(1, 4, 1, nullptr, nullptr, work, 0)));
  EXPECT_EQ(work[0], 7.0f);
}

}  // namespace
}  // namespace vtl
