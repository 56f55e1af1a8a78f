// The bounds must hold for every float cosine and every Manhattan distance:
// callers skip exact measurements on their word. The angle is checked against
// the measure itself (clamps and correctly rounded acosf) for a large stride
// of all float bit patterns and densely near the cosines 1, 0 and -1.

#include "distance/distance_bounds.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>

#include "distance/measure.h"

namespace vtl {
namespace {

// The angle measure of this cosine, as measure_distance takes it.
float angle_of(float cosine) {
  if (cosine < -1.0f) return 3.1415927f;
  if (cosine > 1.0f) return 0.0f;
  return cr_acosf(cosine);
}

void expect_bounds_hold(float cosine) {
  const float angle = angle_of(cosine);
  const float low = angle_lower_bound_of_chord(chord_of(cosine));
  const float high = angle_upper_bound_of_chord(chord_of(cosine));
  if (std::isnan(cosine)) {
    EXPECT_TRUE(std::isnan(low) && std::isnan(high));
    return;
  }
  ASSERT_LE(low, angle) << "cosine " << cosine;
  ASSERT_GE(high, angle) << "cosine " << cosine;
}

// A large stride of all float bit patterns, and every float within 2^20 steps
// of 1 and -1 (on both sides) and of 0 (of either sign).
TEST(DistanceBounds, HoldForEveryFloatCosine) {
  for (std::uint64_t b = 0; b <= 0xFFFFFFFFu; b += 4093) {
    expect_bounds_hold(std::bit_cast<float>(static_cast<std::uint32_t>(b)));
    if (testing::Test::HasFatalFailure()) return;
  }
  const std::uint32_t one = std::bit_cast<std::uint32_t>(1.0f);
  const std::uint32_t minus_one = std::bit_cast<std::uint32_t>(-1.0f);
  for (std::uint32_t step = 0; step < (1u << 20); ++step) {
    for (std::uint32_t bits :
         {one - step, one + step, minus_one - step, minus_one + step, step, 0x80000000u + step}) {
      expect_bounds_hold(std::bit_cast<float>(bits));
    }
    if (testing::Test::HasFatalFailure()) return;
  }
}

// Four lanes at a time give the scalar bounds bit for bit, and these bracket
// the measured distance: random vectors of every scale, and y the same as x,
// the opposite, close to it (where the bounds are used and tightest) or any
// other, with zeros, NaNs, infinities and subnormals now and then.
TEST(DistanceBounds, FourLanesGiveScalarBoundsThatBracketTheDistance) {
  std::mt19937 random(11);
  std::uniform_real_distribution<float> spread(-1.0f, 1.0f);
  std::uniform_int_distribution<int> scale(-30, 30);
  const float odd[] = {0.0f, -0.0f, std::numeric_limits<float>::quiet_NaN(),
                       std::numeric_limits<float>::infinity(), 1e-40f};
  for (int trial = 0; trial < 60000; ++trial) {
    const float base = std::ldexp(1.0f, scale(random));
    float x[3], lanes[3][4], norms[4], low[4], high[4];
    for (float& v : x) v = base * spread(random);
    const bool odd_x = trial % 7 == 0;
    if (odd_x) x[trial % 3] = odd[trial % 5];
    for (int l = 0; l < 4; ++l) {
      float y[3];
      for (int c = 0; c < 3; ++c) {
        const float close = x[c] * (1.0f + 1e-3f * spread(random));
        y[c] = l == 0 ? x[c] : (l == 1 ? -x[c] : (l == 2 ? close : base * spread(random)));
        if ((trial + l) % 11 == 0) y[c] = odd[(trial + c) % 5];
        lanes[c][l] = y[c];
      }
      norms[l] = angle_norm(y, 3);
    }
    const float* const coordinates[3] = {lanes[0], lanes[1], lanes[2]};
    angle_manhattan_bounds4(x, angle_norm(x, 3), coordinates, norms, low, high);
    for (int l = 0; l < 4; ++l) {
      SCOPED_TRACE(testing::Message() << "trial " << trial << " lane " << l);
      const float y[3] = {lanes[0][l], lanes[1][l], lanes[2][l]};
      const AngleManhattanParts parts = angle_manhattan_parts(x, y, angle_norm(x, 3), norms[l]);
      const float lower = angle_manhattan_lower_bound(parts);
      const float upper = angle_manhattan_upper_bound(parts);
      ASSERT_EQ(std::bit_cast<std::uint32_t>(low[l]), std::bit_cast<std::uint32_t>(lower));
      ASSERT_EQ(std::bit_cast<std::uint32_t>(high[l]), std::bit_cast<std::uint32_t>(upper));
      if (odd_x || (trial + l) % 11 == 0) continue;
      float work[3];
      const float exact = measure_distance(1, 1, 4, x, y, work, 3);
      ASSERT_LE(lower, exact);
      ASSERT_FALSE(upper < exact);
    }
  }
}

TEST(DistanceBounds, UndefinedBoundsSendTheCallerToTheExactMeasure) {
  constexpr float kInf = std::numeric_limits<float>::infinity();
  const float zero[3] = {0, 0, 0};
  const float x[3] = {1, 2, 3};
  // A zero vector: NaN cosine.
  AngleManhattanParts parts = angle_manhattan_parts(x, zero, angle_norm(x, 3), 0.0f);
  EXPECT_EQ(angle_manhattan_lower_bound(parts), -kInf);
  EXPECT_EQ(angle_manhattan_upper_bound(parts), kInf);
  // An infinite Manhattan distance with a zero angle bound: 0 x inf.
  parts = {1.0f, kInf};
  EXPECT_EQ(angle_manhattan_lower_bound(parts), -kInf);
  EXPECT_EQ(angle_manhattan_upper_bound(parts), kInf);
  // Beyond 60 degrees the upper bound gives up.
  EXPECT_EQ(angle_upper_bound_of_chord(chord_of(0.0f)), kInf);
  EXPECT_EQ(angle_manhattan_upper_bound({0.0f, 1.0f}), kInf);
  parts = {0.0f, 1.0f};
  EXPECT_LE(angle_manhattan_lower_bound(parts), 1.5707964f);
}

}  // namespace
}  // namespace vtl
