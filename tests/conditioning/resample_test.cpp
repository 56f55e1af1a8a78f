#include "conditioning/resample.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "expect_values.h"

namespace vtl {
namespace {

using test::expect_values;
using test::kInf;
using test::kNaN;
using test::kUntouched;

TEST(ResampleBins, EachOutputIsTheMaximumOrMeanOfItsBin) {
  float out[4];
  const float uneven[] = {10, 1, 30, 2, 7};  // r = 1.25: bins 0 | 1, 2 | 3 | 4
  resample_buffer(uneven, 5, out, 0, 4, RESAMPLE_BIN_MAX);
  expect_values({10, 30, 2, 7}, out);
  resample_buffer(uneven, 5, out, 0, 4, RESAMPLE_BIN_MEAN);
  expect_values({10, 15.5f, 2, 7}, out);
}

TEST(ResampleBins, ABinBelowTheMinimumTakesTheOutputBeforeItOneAtTheMinimumIsKept) {
  // An all-NaN bin stays below the minimum 2. A mode above 4 writes no bin: slots below
  // the minimum are filled from src[0], then from the output before them; the others keep
  // their values.
  float out[3];
  const float gap[] = {5, 2, kNaN, kNaN, 3, 4};
  resample_buffer(gap, 6, out, 0, 3, RESAMPLE_BIN_MAX);
  expect_values({5, 5, 4}, out);
  float old[] = {-100, -100, 100};
  resample_buffer(gap, 6, old, 0, 3, 9);
  expect_values({5, 5, 100}, old);
  // An output equal to the minimum is kept.
  const float low_middle[] = {5, 3, 1, 1, 9, 9};  // bins {5, 3} | {1, 1} | {9, 9}
  resample_buffer(low_middle, 6, out, 0, 3, RESAMPLE_BIN_MAX);
  expect_values({5, 1, 9}, out);
  float kept[] = {1, 0};  // a mode above 4: the old 1 is not below the minimum 1
  const float src[] = {3, 1, 5, 6};
  resample_buffer(src, 4, kept, 0, 2, 9);
  expect_values({1, 1}, kept);
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

// The moving average as documented, one output at a time: output o starts from its
// slot's old value times 0 and takes in src[o + j] for j = 0 .. n_in - n_out, each step
// written back.
void moving_average_one_by_one(const std::vector<float>& src, float* out, int n_out) {
  const int n_in = static_cast<int>(src.size());
  for (int o = 0; o < n_out; ++o) {
    for (int j = 0; j <= n_in - n_out; ++j) {
      out[o] = (src[o + j] + static_cast<float>(j) * out[o]) / static_cast<float>(j + 1);
    }
  }
}

TEST(ResampleMovingAverage, EqualsTheRunningMeanOfEachOutputBitForBit) {
  std::mt19937 random(11);
  std::uniform_real_distribution<float> value(-50.0f, 50.0f);
  for (int n_out : {8, 9, 15, 16, 17}) {
    for (int n_in : {n_out + 1, n_out + 6, 41}) {
      for (int offset : {0, 3}) {
        std::vector<float> src(n_in);  // exactly sized: a read past it shows under ASan
        for (float& x : src) x = value(random);
        // Old values: finite ones weigh 0, an infinity or a NaN poisons its output.
        std::vector<float> expected(offset + n_out + 2, kUntouched);
        for (int o = 0; o < n_out; ++o) expected[offset + o] = value(random) * 1e30f;
        expected[offset + 1] = kInf;
        expected[offset + 8] = kNaN;
        expected[offset + n_out - 1] = -kInf;
        std::vector<float> out = expected;
        resample_buffer(src.data(), static_cast<std::uint16_t>(n_in), out.data(),
                        static_cast<std::uint16_t>(offset), static_cast<std::uint16_t>(n_out),
                        RESAMPLE_MOVING_AVERAGE);
        moving_average_one_by_one(src, expected.data() + offset, n_out);
        for (std::size_t i = 0; i < out.size(); ++i) {
          EXPECT_FLOAT_BITS(expected[i], out[i])
              << "slot " << i << ", n_in " << n_in << ", n_out " << n_out << ", offset " << offset;
        }
      }
    }
  }
}

TEST(ResampleEveryMode, CopiesAsManyOrMoreOutputsAndWritesOnlyAtTheOffset) {
  const float src[] = {1, 2, 3, 4, 5};
  float out[9];
  resample_buffer(src, 5, out, 0, 2, RESAMPLE_KEEP_FIRST);
  expect_values({1, 2}, out);
  resample_buffer(src, 5, out, 0, 2, RESAMPLE_KEEP_LAST);
  expect_values({4, 5}, out);
  for (std::uint16_t mode : {0, 1, 2, 3, 4, 200}) {
    SCOPED_TRACE(mode);
    std::fill(out, out + 9, kUntouched);
    resample_buffer(src, 5, out, 3, 0, mode);
    for (float x : out) EXPECT_FLOAT_BITS(kUntouched, x);
    resample_buffer(src, 5, out, 3, 4, mode);
    EXPECT_FLOAT_BITS(kUntouched, out[2]);
    EXPECT_FLOAT_BITS(kUntouched, out[7]);
    std::fill(out, out + 9, kUntouched);
    resample_buffer(src, 5, out, 1, 5, mode);
    expect_values({kUntouched, 1, 2, 3, 4, 5, kUntouched}, out);
    resample_buffer(src, 2, out, 5, 4, mode);  // more outputs: the inputs still
    expect_values({kUntouched, 1, 2, 3, 4, 1, 2, kUntouched}, out);
  }
}

TEST(OffsetRemoval, EachBlockLosesItsOwnMean) {
  float blocks[] = {1, 2, 3, 10, 20, 30};
  remove_block_means(blocks, 3, 2);
  expect_values({-1, 0, 1, -10, 0, 10}, blocks);
  std::vector<float> many(600);  // 300 blocks: past any 8-bit counter
  for (std::size_t i = 0; i < 600; ++i) many[i] = static_cast<float>(i / 2 + 2 * (i % 2));
  remove_block_means(many.data(), 2, 300);
  expect_values({-1, 1}, &many[598]);
}

TEST(OffsetRemoval, TheMeanCountsTheLow16BitsOfN) {
  float buffer[] = {1, 5, 0, -100};
  remove_mean(buffer, 65536u + 3u);
  expect_values({-1, 3, -2, -100}, buffer);
  abs_in_place(buffer, 2);
  expect_values({1, 3, -2}, buffer);
}

TEST(PercentOf, TruncatesTheFloatOfTheWrappedProduct) {
  EXPECT_EQ(percent_of(200, 0, 25), 50);
  EXPECT_EQ(percent_of(-200, 7, 25), -50);  // every flag gives the flag-0 result
  // 67108900 has no float: it becomes 67108896, whose 1 % truncates to 671088.
  EXPECT_EQ(percent_of(671089, 0, 100), 671088);
  EXPECT_EQ(percent_of(2147483647, 0, 255), 21474834);  // product wraps to 2147483393
}

}  // namespace
}  // namespace vtl
