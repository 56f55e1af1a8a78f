#include "distance/vector_primitives.h"

#include <gtest/gtest.h>

#include <cmath>

#include "test_util.h"

namespace vtl {
namespace {

using test::kNaN;

TEST(VectorReductions, SumOfSquaresAndMean) {
  const float v[] = {1.0f, 2.0f, 3.0f};
  float out = -1.0f;
  vector_sum_squares(v, 3, &out);
  EXPECT_EQ(out, 14.0f);
  const float single[] = {3.0f};
  vector_sum_squares(single, 1, &out);
  EXPECT_EQ(out, 9.0f);

  const float m[] = {1.0f, 2.0f, 4.0f};
  vector_mean(m, 3, &out);
  EXPECT_FLOAT_BITS(7.0f / 3.0f, out);  // 2.3333333
}

TEST(VectorReductions, EmptyInputsReadNothing) {
  float out = 5.0f;
  vector_sum_squares(nullptr, 0, &out);
  EXPECT_EQ(out, 0.0f);
  vector_mean(nullptr, 0, &out);
  EXPECT_TRUE(std::isnan(out));
  std::uint32_t index = 7;
  find_max(nullptr, 0, &out, &index);
  EXPECT_TRUE(std::isnan(out));
  EXPECT_EQ(index, 0u);
}

TEST(VectorReductions, FindMaxKeepsFirstAndSkipsNaN) {
  float value;
  std::uint32_t index;
  const float ties[] = {2.0f, 5.0f, 5.0f, 1.0f};
  find_max(ties, 4, &value, &index);
  EXPECT_EQ(value, 5.0f);
  EXPECT_EQ(index, 1u);

  const float nan_first[] = {kNaN, 1.0f, 2.0f};
  find_max(nan_first, 3, &value, &index);
  EXPECT_TRUE(std::isnan(value));
  EXPECT_EQ(index, 0u);

  const float nan_inside[] = {1.0f, kNaN, 2.0f};
  find_max(nan_inside, 3, &value, &index);
  EXPECT_EQ(value, 2.0f);
  EXPECT_EQ(index, 2u);
}

TEST(VectorScalars, SqrtOrZeroAndAbs) {
  float out = -1.0f;
  sqrt_or_zero(&out, 16.0f);
  EXPECT_EQ(out, 4.0f);
  sqrt_or_zero(&out, -1.0f);
  EXPECT_FLOAT_BITS(0.0f, out);
  sqrt_or_zero(&out, kNaN);
  EXPECT_FLOAT_BITS(0.0f, out);
  sqrt_or_zero(&out, 0.0f);
  EXPECT_FLOAT_BITS(0.0f, out);

  EXPECT_FLOAT_BITS(-0.0f, abs_float(-0.0f));
  EXPECT_EQ(abs_float(-2.5f), 2.5f);
  EXPECT_TRUE(std::isnan(abs_float(kNaN)));
}

TEST(VectorMaps, ElementWiseAndInPlace) {
  const float a[] = {1.0f, 2.0f, 3.0f};
  const float b[] = {3.0f, 2.0f, 1.0f};
  float dst[3];
  vector_sub(a, b, dst, 3);
  EXPECT_EQ(dst[0], -2.0f);
  EXPECT_EQ(dst[1], 0.0f);
  EXPECT_EQ(dst[2], 2.0f);
  vector_add(a, b, dst, 3);
  EXPECT_EQ(dst[2], 4.0f);
  vector_scale(a, dst, 3, 0.5f);
  EXPECT_EQ(dst[1], 1.0f);
  vector_copy(b, dst, 3);
  EXPECT_EQ(dst[0], 3.0f);

  float in_place[] = {1.0f, 2.0f, 3.0f, 4.0f, 5.0f};
  vector_add_scalar(in_place, in_place, 5, 10.0f);  // each element once
  EXPECT_EQ(in_place[0], 11.0f);
  EXPECT_EQ(in_place[4], 15.0f);

  float untouched[] = {7.0f};
  vector_add_scalar(a, untouched, 0, 1.0f);
  EXPECT_EQ(untouched[0], 7.0f);
}

}  // namespace
}  // namespace vtl
