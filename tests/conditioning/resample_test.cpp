#include "conditioning/resample.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "expect_values.h"

namespace vtl {
namespace {

using test::expect_values;
using test::kInf;
using test::kNaN;
using test::kUntouched;

TEST(ResampleBins, MaximaMeansAndFallbacks) {
  float out[4];
  const float uneven[] = {10, 1, 30, 2, 7};  // r = 1.25: bins 0 | 1, 2 | 3 | 4
  resample_buffer(uneven, 5, out, 0, 4, RESAMPLE_BIN_MAX);
  expect_values({10, 30, 2, 7}, out);
  resample_buffer(uneven, 5, out, 0, 4, RESAMPLE_BIN_MEAN);
  expect_values({10, 15.5f, 2, 7}, out);
  // An all-NaN bin stays below the minimum 2 and takes the output before it. A
  // mode above 4 writes no bin: slots below the minimum are filled from src[0],
  // then from the output before them; the others keep their values.
  const float gap[] = {5, 2, kNaN, kNaN, 3, 4};
  resample_buffer(gap, 6, out, 0, 3, RESAMPLE_BIN_MAX);
  expect_values({5, 5, 4}, out);
  float old[] = {-100, -100, 100};
  resample_buffer(gap, 6, old, 0, 3, 9);
  expect_values({5, 5, 100}, old);
}

TEST(ResampleBins, ExtremeRatiosStayInsideTheSource) {
  std::vector<float> src(65535);  // exactly sized for the sanitizers
  for (std::size_t i = 0; i < src.size(); ++i) src[i] = static_cast<float>(i);
  src[40000] = kNaN;
  std::vector<float> out(65535, kUntouched);
  resample_buffer(src.data(), 65535, out.data(), 0, 1, RESAMPLE_BIN_MAX);
  expect_values({65534, kUntouched}, out.data());
  // From bin 32767 on (o * (r - 1) >= 0.5) each bin runs one input ahead; the
  // lone NaN's bin falls back to the output before it.
  resample_buffer(src.data(), 65535, out.data(), 0, 65534, RESAMPLE_BIN_MAX);
  EXPECT_FLOAT_BITS(29999.0f, out[29999]);
  expect_values({39999, 39999}, &out[39998]);
  expect_values({65534, kUntouched}, &out[65533]);
}

TEST(ResampleOtherModes, MovingAverageKeptEndsAndCopies) {
  const float src[] = {1, 2, 3, 4, 5};
  float out[9] = {1e30f, -1e30f, 7};  // finite old values weigh 0 ...
  resample_buffer(src, 5, out, 0, 3, RESAMPLE_MOVING_AVERAGE);
  expect_values({2, 3, 4}, out);
  float seeded[3] = {kInf, 0, kNaN};  // ... but 0 * inf and NaN poison the mean
  resample_buffer(src, 5, seeded, 0, 3, RESAMPLE_MOVING_AVERAGE);
  EXPECT_TRUE(std::isnan(seeded[0]) && std::isnan(seeded[2]));
  resample_buffer(src, 5, out, 0, 2, RESAMPLE_KEEP_LAST);
  expect_values({4, 5}, out);

  // Every mode: n_out >= n_in copies the n_in values, and all writes keep to
  // offset .. offset + n_out - 1.
  for (std::uint16_t mode : {0, 1, 2, 3, 4, 200}) {
    std::fill(out, out + 9, kUntouched);
    resample_buffer(src, 5, out, 3, 0, mode);
    resample_buffer(src, 2, out, 3, 4, mode);
    expect_values({kUntouched, kUntouched, kUntouched, 1, 2, kUntouched}, out);
    resample_buffer(src, 5, out, 3, 4, mode);
    EXPECT_FLOAT_BITS(kUntouched, out[2]);
    EXPECT_FLOAT_BITS(kUntouched, out[7]);
  }
}

TEST(OffsetRemoval, MeansAbsoluteValuesAndPercent) {
  float blocks[] = {1, 2, 3, 10, 20, 30};
  remove_block_means(blocks, 3, 2);
  expect_values({-1, 0, 1, -10, 0, 10}, blocks);
  std::vector<float> many(600);  // 300 blocks: past any 8-bit counter
  for (std::size_t i = 0; i < 600; ++i) many[i] = static_cast<float>(i / 2 + 2 * (i % 2));
  remove_block_means(many.data(), 2, 300);
  expect_values({-1, 1}, &many[598]);
  float buffer[] = {1, 2, 3, -100};
  remove_mean(buffer, 65536u + 3u);  // the low 16 bits count
  abs_in_place(buffer, 1);
  expect_values({1, 0, 1, -100}, buffer);

  EXPECT_EQ(percent_of(200, 0, 25), 50);
  EXPECT_EQ(percent_of(-200, 7, 25), -50);  // every flag gives the flag-0 result
  // 67108900 has no float: it becomes 67108896, whose 1 % truncates to 671088.
  EXPECT_EQ(percent_of(671089, 0, 100), 671088);
  EXPECT_EQ(percent_of(2147483647, 0, 255), 21474834);  // product wraps to 2147483393
}

}  // namespace
}  // namespace vtl
