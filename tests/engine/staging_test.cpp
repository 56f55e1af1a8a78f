// Input staging: the copy into the engine's own vector and the min/max helpers.

#include "engine/staging.h"

#include <gtest/gtest.h>

#include <cmath>

#include "test_util.h"

namespace vtl {
namespace {

using test::kNaN;

TEST(Staging, CopiesBitForBitThroughTheScratch) {
  const float source[3] = {1.5f, -2.0f, test::from_bits(0x7FC00ABCu)};
  float destination[3] = {9.0f, 9.0f, 9.0f};
  stage_signal(source, destination);
  EXPECT_EQ(destination[0], 1.5f);
  EXPECT_EQ(destination[1], -2.0f);
  EXPECT_EQ(test::bits(destination[2]), 0x7FC00ABCu);
  EXPECT_EQ(test::bits(value_scratch), 0x7FC00ABCu);  // holds the third value

  float out[4] = {0.0f, 0.0f, 0.0f, 0.0f};
  const float many[5] = {4.0f, 5.0f, 6.0f, 7.0f, 8.0f};
  copy_value(many, out, 2, 5, 3);  // only the first value, whatever the count
  copy_value(many + 1, out, 0, 0, 0);
  EXPECT_EQ(out[0], 0.0f);
  EXPECT_EQ(out[2], 4.0f);
  EXPECT_EQ(out[3], 0.0f);
}

TEST(Staging, MinimumAndMaximumRules) {
  float minimum;
  std::uint32_t position;
  const float ties[] = {3.0f, 1.0f, 1.0f, kNaN};
  find_min(ties, 4, &minimum, &position);  // first of equal minima; NaN never wins
  EXPECT_EQ(position, 1u);
  const float nan_first[] = {kNaN, -1.0f};
  find_min(nan_first, 2, &minimum, &position);  // but a NaN in front stays
  EXPECT_EQ(position, 0u);
  find_min(nullptr, 0, &minimum, &position);  // reads nothing
  EXPECT_TRUE(std::isnan(minimum));

  float out[3] = {0.0f, 0.0f, 0.0f};
  const float values[] = {-5.0f, -7.0f, kNaN};
  reduce_max(values, 2, out, 1);
  EXPECT_EQ(out[1], -5.0f);
  reduce_max(values, 0, out, 2);  // nothing written
  EXPECT_EQ(out[2], 0.0f);
  const float with_nan[] = {kNaN, 3.0f, kNaN, 2.0f};
  reduce_max(with_nan, 4, out, 2);
  EXPECT_EQ(out[2], 3.0f);
  reduce_max(with_nan + 2, 1, out, 0);  // one value is copied as it is
  EXPECT_TRUE(std::isnan(out[0]));
}

}  // namespace
}  // namespace vtl
