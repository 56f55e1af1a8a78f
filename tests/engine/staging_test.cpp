// Input staging: the copy into the engine's own vector and the min/max helpers.

#include "engine/staging.h"

#include <gtest/gtest.h>

#include <tuple>

#include "test_util.h"

namespace vtl {
namespace {

using test::kNaN;

TEST(Staging, StageSignalAndCopyValueCopyBitForBit) {
  const float source[3] = {1.5f, -2.0f, test::from_bits(0x7FC00ABCu)};
  float destination[3] = {9.0f, 9.0f, 9.0f};
  stage_signal(source, destination);
  for (int c = 0; c < 3; ++c) EXPECT_FLOAT_BITS(source[c], destination[c]);
  EXPECT_EQ(0x7FC00ABCu, test::bits(value_scratch));  // holds the third value
  // copy_value writes only the first value, and nothing for a count of 0.
  float out[4] = {0.0f, 0.0f, 0.0f, 0.0f};
  copy_value(source, out, 2, 5, 3);
  copy_value(source + 1, out, 0, 0, 0);
  EXPECT_EQ(test::bits(out[0]) | test::bits(out[3]), 0u);
  EXPECT_FLOAT_BITS(1.5f, out[2]);
}

// The first of equal minima; a NaN never wins, but a NaN in front stays; no
// values are read for a count of 0, which gives NaN at 0.
TEST(Staging, FindMinKeepsTheFirstSmallestAndALeadingNaN) {
  const float ties[] = {3, 1, 1, kNaN}, falling[] = {3, 2, 1}, nan_first[] = {kNaN, -1};
  for (const auto& [values, n, at, expected] :
       {std::tuple{ties, 4u, 1u, 1.0f}, std::tuple{falling, 3u, 2u, 1.0f},
        std::tuple{nan_first, 2u, 0u, kNaN}, std::tuple{nan_first, 0u, 0u, kNaN}}) {
    float minimum = 0.0f;
    std::uint32_t position = 5;
    find_min(n == 0 ? nullptr : values, n, &minimum, &position);
    EXPECT_EQ(at, position) << "case at " << at << " of " << n;
    EXPECT_FLOAT_BITS(expected, minimum);
  }
}

// The search starts below the minimum; NaNs lose unless alone (one value is
// copied as it is); a count of 0 writes nothing.
TEST(Staging, ReduceMaxWritesTheLargestNumberAtTheIndex) {
  const float negative[] = {-5, -7, kNaN}, close[] = {1, 1.5f}, with_nan[] = {kNaN, 3, kNaN, 2};
  for (const auto& [values, n, expected] :
       {std::tuple{negative, 2u, -5.0f}, std::tuple{close, 2u, 1.5f},
        std::tuple{with_nan, 4u, 3.0f}, std::tuple{with_nan, 1u, kNaN},
        std::tuple{negative, 0u, 0.0f}}) {
    float out[3] = {0.0f, 0.0f, 0.0f};
    reduce_max(values, n, out, 1);
    EXPECT_FLOAT_BITS(expected, out[1]) << "of " << n;
    EXPECT_EQ(test::bits(out[0]) | test::bits(out[2]), 0u);
  }
}

}  // namespace
}  // namespace vtl
