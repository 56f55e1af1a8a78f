// Input staging: the copy into the engine's own vector and the min/max helpers.

#include "engine/staging.h"

#include <gtest/gtest.h>

#include <cmath>

#include "test_util.h"

namespace vtl {
namespace {

using test::kNaN;

TEST(Staging, StageSignalCopiesBitForBitThroughTheScratch) {
  const float source[3] = {1.5f, -2.0f, test::from_bits(0x7FC00ABCu)};
  float destination[3] = {9.0f, 9.0f, 9.0f};
  stage_signal(source, destination);
  EXPECT_FLOAT_BITS(1.5f, destination[0]);
  EXPECT_FLOAT_BITS(-2.0f, destination[1]);
  EXPECT_EQ(0x7FC00ABCu, test::bits(destination[2]));
  EXPECT_EQ(0x7FC00ABCu, test::bits(value_scratch));  // holds the third value
}

TEST(Staging, CopyValueWritesOnlyTheFirstValueAndNothingForACountOf0) {
  float out[4] = {0.0f, 0.0f, 0.0f, 0.0f};
  const float many[5] = {4.0f, 5.0f, 6.0f, 7.0f, 8.0f};
  copy_value(many, out, 2, 5, 3);
  copy_value(many + 1, out, 0, 0, 0);
  EXPECT_FLOAT_BITS(0.0f, out[0]);
  EXPECT_FLOAT_BITS(4.0f, out[2]);
  EXPECT_FLOAT_BITS(0.0f, out[3]);
}

TEST(Staging, FindMinKeepsTheFirstSmallestAndALeadingNaN) {
  float minimum;
  std::uint32_t position;
  const float ties[] = {3.0f, 1.0f, 1.0f, kNaN};
  find_min(ties, 4, &minimum, &position);  // first of equal minima; NaN never wins
  EXPECT_EQ(1u, position);
  const float falling[] = {3.0f, 2.0f, 1.0f};
  find_min(falling, 3, &minimum, &position);
  EXPECT_EQ(2u, position);
  const float nan_first[] = {kNaN, -1.0f};
  find_min(nan_first, 2, &minimum, &position);  // but a NaN in front stays
  EXPECT_EQ(0u, position);
  EXPECT_TRUE(std::isnan(minimum)) << minimum;
}

TEST(Staging, FindMinOfNothingReadsNothing) {
  float minimum = 0.0f;
  std::uint32_t position = 5;
  find_min(nullptr, 0, &minimum, &position);
  EXPECT_TRUE(std::isnan(minimum)) << minimum;
  EXPECT_EQ(0u, position);
}

TEST(Staging, ReduceMaxWritesTheLargestNumber) {
  float out[3] = {0.0f, 0.0f, 0.0f};
  const float values[] = {-5.0f, -7.0f, kNaN};
  reduce_max(values, 2, out, 1);
  EXPECT_FLOAT_BITS(-5.0f, out[1]);
  const float close[] = {1.0f, 1.5f};  // the search starts below the minimum
  reduce_max(close, 2, out, 1);
  EXPECT_FLOAT_BITS(1.5f, out[1]);
  reduce_max(values, 0, out, 2);  // nothing written
  EXPECT_FLOAT_BITS(0.0f, out[2]);
  const float with_nan[] = {kNaN, 3.0f, kNaN, 2.0f};
  reduce_max(with_nan, 4, out, 2);
  EXPECT_FLOAT_BITS(3.0f, out[2]);
  reduce_max(with_nan + 2, 1, out, 0);  // one value is copied as it is
  EXPECT_TRUE(std::isnan(out[0])) << out[0];
}

}  // namespace
}  // namespace vtl
