// Deterministic minimum and maximum, and the float environment the library needs.

#include "base/min_max.h"

#include <gtest/gtest.h>
#include <xmmintrin.h>

#include <cmath>

#include "base/exact_float.h"
#include "test_util.h"

namespace vtl {
namespace {

using test::bits;
using test::from_bits;
using test::kInf;
using test::kNaN;

TEST(MinMax, ANumberWinsOverANaNInEitherPosition) {
  EXPECT_FLOAT_BITS(2.0f, float_min(kNaN, 2.0f));
  EXPECT_FLOAT_BITS(2.0f, float_min(2.0f, kNaN));
  EXPECT_FLOAT_BITS(-3.0f, float_max(kNaN, -3.0f));
  EXPECT_FLOAT_BITS(-3.0f, float_max(-3.0f, kNaN));
  EXPECT_EQ(0.5, double_max(0.5, static_cast<double>(kNaN)));
  EXPECT_EQ(bits(float_max(from_bits(0x7FC00001u), from_bits(0x7FC00002u))), 0x7FC00002u)
      << "two NaNs give the second";
}

TEST(MinMax, TheSignOfAZeroResultIsTheSameInEitherOrder) {
  EXPECT_EQ(bits(float_min(-0.0f, 0.0f)), 0x80000000u);
  EXPECT_EQ(bits(float_min(0.0f, -0.0f)), 0x80000000u);
  EXPECT_EQ(bits(float_max(-0.0f, 0.0f)), 0u);
  EXPECT_EQ(bits(float_max(0.0f, -0.0f)), 0u);
  EXPECT_FALSE(std::signbit(double_max(-0.0, 0.0)));
  EXPECT_FALSE(std::signbit(double_max(0.0, -0.0)));
}

TEST(MinMax, OrderedValuesCompareAsNumbers) {
  EXPECT_FLOAT_BITS(1.1f, float_min(1.1f, 2.1f));
  EXPECT_FLOAT_BITS(1.1f, float_min(2.1f, 1.1f));
  EXPECT_FLOAT_BITS(kInf, float_max(kInf, 3.0f));
  EXPECT_FLOAT_BITS(-kInf, float_min(3.0f, -kInf));
  EXPECT_FLOAT_BITS(1e-45f, float_max(-1e-45f, 1e-45f));  // subnormals compare as numbers
}

TEST(ExactFloat, FlushToZeroSwitchedOnIsUndone) {
  const unsigned saved = _mm_getcsr();
  _mm_setcsr(saved | (1u << 15) | (1u << 6) | (1u << 13));  // FTZ, DAZ, round down
  EXPECT_FALSE(exact_float_environment());
  use_exact_float_environment();
  EXPECT_TRUE(exact_float_environment());
  _mm_setcsr(saved);
}

}  // namespace
}  // namespace vtl
