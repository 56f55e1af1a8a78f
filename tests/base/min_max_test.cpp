// Deterministic minimum and maximum, and the float environment the library needs.

#include "base/min_max.h"

#include <gtest/gtest.h>
#include <xmmintrin.h>

#include <cmath>
#include <utility>

#include "base/exact_float.h"
#include "test_util.h"

namespace vtl {
namespace {

using test::kInf;
using test::kNaN;

// A number wins over a NaN, a zero result has one sign, and ordered values
// (subnormals too) compare as numbers, whichever comes first.
TEST(MinMax, EitherOrderGivesTheSameBits) {
  struct Case {
    float a, b, min, max;
  };
  for (const Case& c : {Case{kNaN, 2.0f, 2.0f, 2.0f}, Case{-0.0f, 0.0f, -0.0f, 0.0f},
                        Case{1.1f, 2.1f, 1.1f, 2.1f}, Case{kInf, 3.0f, 3.0f, kInf},
                        Case{3.0f, -kInf, -kInf, 3.0f}, Case{-1e-45f, 1e-45f, -1e-45f, 1e-45f}}) {
    for (const auto& [a, b] : {std::pair{c.a, c.b}, std::pair{c.b, c.a}}) {
      EXPECT_FLOAT_BITS(c.min, float_min(a, b)) << "min of " << a << ", " << b;
      EXPECT_FLOAT_BITS(c.max, float_max(a, b)) << "max of " << a << ", " << b;
    }
  }
  EXPECT_EQ(0.5, double_max(0.5, static_cast<double>(kNaN)));
  EXPECT_FALSE(std::signbit(double_max(-0.0, 0.0)));
  EXPECT_FALSE(std::signbit(double_max(0.0, -0.0)));
  EXPECT_EQ(test::bits(float_max(test::from_bits(0x7FC00001u), test::from_bits(0x7FC00002u))),
            0x7FC00002u)
      << "two NaNs give the second";
}

// Only what compares below zero is negated: both zeros and every NaN keep their bits.
TEST(MinMax, NegateIfNegativeKeepsZerosAndNaNs) {
  for (const float x : {0.0f, -0.0f, 3.5f, kInf, kNaN, -kNaN, 1e-45f})
    EXPECT_FLOAT_BITS(x, negate_if_negative(x)) << x;
  EXPECT_FLOAT_BITS(2.0f, negate_if_negative(-2.0f));
  EXPECT_FLOAT_BITS(kInf, negate_if_negative(-kInf));
  EXPECT_FLOAT_BITS(1e-45f, negate_if_negative(-1e-45f));
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
