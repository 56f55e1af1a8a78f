#include "conditioning/resample.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <vector>

#include "test_util.h"

namespace vtl {
namespace {

using test::kInf;
using test::kNaN;

constexpr float kUntouched = -777.0f;

std::vector<float> ramp(std::uint16_t n) {
  std::vector<float> v(n);
  for (std::uint16_t i = 0; i < n; ++i) v[i] = static_cast<float>(i);
  return v;
}

TEST(ResampleBins, MaximumAndMeanOverBins) {
  const std::vector<float> src = ramp(10);
  float out[5];
  resample_buffer(src.data(), 10, out, 0, 5, RESAMPLE_BIN_MAX);
  const float maxima[] = {1.0f, 3.0f, 5.0f, 7.0f, 9.0f};
  for (int i = 0; i < 5; ++i) EXPECT_FLOAT_BITS(maxima[i], out[i]);
  resample_buffer(src.data(), 10, out, 0, 5, RESAMPLE_BIN_MEAN);
  const float means[] = {0.5f, 2.5f, 4.5f, 6.5f, 8.5f};
  for (int i = 0; i < 5; ++i) EXPECT_FLOAT_BITS(means[i], out[i]);

  // r = 1.25: the bins hold inputs 0 | 1, 2 | 3 | 4.
  const float uneven[] = {10.0f, 1.0f, 30.0f, 2.0f, 7.0f};
  resample_buffer(uneven, 5, out, 0, 4, RESAMPLE_BIN_MAX);
  EXPECT_FLOAT_BITS(10.0f, out[0]);
  EXPECT_FLOAT_BITS(30.0f, out[1]);
  EXPECT_FLOAT_BITS(2.0f, out[2]);
  EXPECT_FLOAT_BITS(7.0f, out[3]);
  resample_buffer(uneven, 5, out, 0, 4, RESAMPLE_BIN_MEAN);
  EXPECT_FLOAT_BITS(10.0f, out[0]);
  EXPECT_FLOAT_BITS(15.5f, out[1]);
  EXPECT_FLOAT_BITS(2.0f, out[2]);
  EXPECT_FLOAT_BITS(7.0f, out[3]);
}

TEST(ResampleBins, FallbacksFillNaNBinsAndUnknownModes) {
  // The middle bin holds only NaN: it stays below the minimum 2 and takes the
  // output before it.
  const float src[] = {5.0f, 2.0f, kNaN, kNaN, 3.0f, 4.0f};
  float out[3];
  resample_buffer(src, 6, out, 0, 3, RESAMPLE_BIN_MAX);
  EXPECT_FLOAT_BITS(5.0f, out[0]);
  EXPECT_FLOAT_BITS(5.0f, out[1]);
  EXPECT_FLOAT_BITS(4.0f, out[2]);

  // A mode above 4 writes no bin: slots below the minimum are filled from
  // src[0] and then from the output before them; the others keep their values.
  float low[] = {-100.0f, -100.0f, 100.0f};
  resample_buffer(src, 6, low, 0, 3, 9);
  EXPECT_FLOAT_BITS(5.0f, low[0]);
  EXPECT_FLOAT_BITS(5.0f, low[1]);
  EXPECT_FLOAT_BITS(100.0f, low[2]);
}

TEST(ResampleBins, ExtremeRatiosStayInsideTheSource) {
  // Exactly sized so that the sanitizers see any read past the last input.
  std::vector<float> src = ramp(65535);
  src[40000] = kNaN;
  std::vector<float> out(65534 + 1, kUntouched);
  resample_buffer(src.data(), 65535, out.data(), 0, 1, RESAMPLE_BIN_MAX);
  EXPECT_FLOAT_BITS(65534.0f, out[0]);
  EXPECT_FLOAT_BITS(kUntouched, out[1]);

  // 65534 bins: from bin 32767 on (o * (r - 1) >= 0.5) each bin runs one input
  // ahead, one bin takes two inputs, and the last output is the last input.
  // The bin of the lone NaN falls back to the output before it.
  resample_buffer(src.data(), 65535, out.data(), 0, 65534, RESAMPLE_BIN_MAX);
  EXPECT_FLOAT_BITS(0.0f, out[0]);
  EXPECT_FLOAT_BITS(29999.0f, out[29999]);
  EXPECT_FLOAT_BITS(39999.0f, out[39998]);
  EXPECT_FLOAT_BITS(39999.0f, out[39999]);
  EXPECT_FLOAT_BITS(65534.0f, out[65533]);
  EXPECT_FLOAT_BITS(kUntouched, out[65534]);
  resample_buffer(src.data(), 65535, out.data(), 0, 65534, RESAMPLE_BIN_MEAN);
  EXPECT_FLOAT_BITS(65534.0f, out[65533]);
}

TEST(ResampleOtherModes, MovingAverageAndKeepFirstOrLast) {
  const float src[] = {1.0f, 2.0f, 3.0f, 4.0f, 5.0f};
  float out[3] = {1e30f, -1e30f, 7.0f};  // finite old values weigh 0
  resample_buffer(src, 5, out, 0, 3, RESAMPLE_MOVING_AVERAGE);
  EXPECT_FLOAT_BITS(2.0f, out[0]);
  EXPECT_FLOAT_BITS(3.0f, out[1]);
  EXPECT_FLOAT_BITS(4.0f, out[2]);

  // The running mean starts from the slot's old value: 0 * inf poisons it.
  float seeded[3] = {kInf, 0.0f, kNaN};
  resample_buffer(src, 5, seeded, 0, 3, RESAMPLE_MOVING_AVERAGE);
  EXPECT_TRUE(std::isnan(seeded[0]));
  EXPECT_FLOAT_BITS(3.0f, seeded[1]);
  EXPECT_TRUE(std::isnan(seeded[2]));

  float two[2];
  resample_buffer(src, 5, two, 0, 2, RESAMPLE_KEEP_LAST);
  EXPECT_FLOAT_BITS(4.0f, two[0]);
  EXPECT_FLOAT_BITS(5.0f, two[1]);
  resample_buffer(src, 5, two, 0, 2, RESAMPLE_KEEP_FIRST);
  EXPECT_FLOAT_BITS(1.0f, two[0]);
  EXPECT_FLOAT_BITS(2.0f, two[1]);

  float none[1] = {kUntouched};
  for (std::uint16_t mode = 0; mode < 6; ++mode) {
    resample_buffer(src, 5, none, 0, 0, mode);
    EXPECT_FLOAT_BITS(kUntouched, none[0]) << "mode " << mode;
  }
}

TEST(ResampleCopy, CopiesWhateverTheModeAndKeepsToTheOffset) {
  const float src[] = {1.5f, -2.0f, kNaN};
  for (std::uint16_t mode : {0, 1, 2, 3, 4, 200}) {
    for (std::uint16_t n_out : {3, 8}) {
      float out[7];
      for (float& v : out) v = kUntouched;
      resample_buffer(src, 3, out, 3, n_out, mode);
      for (int i = 0; i < 3; ++i) EXPECT_FLOAT_BITS(kUntouched, out[i]);
      EXPECT_FLOAT_BITS(1.5f, out[3]);
      EXPECT_FLOAT_BITS(-2.0f, out[4]);
      EXPECT_TRUE(std::isnan(out[5]));
      EXPECT_FLOAT_BITS(kUntouched, out[6]);  // the copy takes n_in values, not n_out
    }
  }

  // Shrinking with an offset writes exactly offset .. offset + n_out - 1.
  const std::vector<float> ten = ramp(10);
  for (std::uint16_t mode = 0; mode < 6; ++mode) {
    float out[9];
    for (float& v : out) v = kUntouched;
    resample_buffer(ten.data(), 10, out, 3, 5, mode);
    EXPECT_FLOAT_BITS(kUntouched, out[2]) << "mode " << mode;
    EXPECT_FLOAT_BITS(kUntouched, out[8]) << "mode " << mode;
  }
}

TEST(OffsetRemoval, BlockMeansAndWholeBufferMean) {
  float blocks[] = {1.0f, 2.0f, 3.0f, 10.0f, 20.0f, 30.0f};
  remove_block_means(blocks, 3, 2);
  const float expected[] = {-1.0f, 0.0f, 1.0f, -10.0f, 0.0f, 10.0f};
  for (int i = 0; i < 6; ++i) EXPECT_FLOAT_BITS(expected[i], blocks[i]);

  // Block counts past 255 are all served.
  std::vector<float> many(600);
  for (std::size_t b = 0; b < 300; ++b) {
    many[2 * b] = static_cast<float>(b);
    many[2 * b + 1] = static_cast<float>(b) + 2.0f;
  }
  remove_block_means(many.data(), 2, 300);
  EXPECT_FLOAT_BITS(-1.0f, many[598]);
  EXPECT_FLOAT_BITS(1.0f, many[599]);

  float kept[] = {4.0f, 5.0f};
  remove_block_means(kept, 0, 2);
  remove_block_means(kept, 2, 0);
  EXPECT_FLOAT_BITS(4.0f, kept[0]);

  // remove_mean uses the low 16 bits of n; a zero count touches nothing.
  float buffer[] = {1.0f, 2.0f, 3.0f, 100.0f};
  remove_mean(buffer, 65536u + 3u);
  EXPECT_FLOAT_BITS(-1.0f, buffer[0]);
  EXPECT_FLOAT_BITS(0.0f, buffer[1]);
  EXPECT_FLOAT_BITS(1.0f, buffer[2]);
  EXPECT_FLOAT_BITS(100.0f, buffer[3]);
  remove_mean(buffer, 65536u);
  EXPECT_FLOAT_BITS(-1.0f, buffer[0]);
}

TEST(OffsetRemoval, AbsoluteValuesAndPercent) {
  float values[] = {-2.5f, -0.0f, kNaN, -1.0f};
  abs_in_place(values, 3);
  EXPECT_FLOAT_BITS(2.5f, values[0]);
  EXPECT_FLOAT_BITS(-0.0f, values[1]);  // the ordered test x < 0 leaves -0.0
  EXPECT_TRUE(std::isnan(values[2]));
  EXPECT_FLOAT_BITS(-1.0f, values[3]);

  EXPECT_EQ(percent_of(200, 0, 25), 50);
  EXPECT_EQ(percent_of(-200, 0, 25), -50);
  EXPECT_EQ(percent_of(200, 1, 25), 50);
  EXPECT_EQ(percent_of(200, 255, 25), 50);
  // 67108900 has no float: it becomes 67108896, and 1 % of that truncates to
  // 671088, not the integer quotient 671089.
  EXPECT_EQ(percent_of(671089, 0, 100), 671088);
  // 255 * INT32_MAX wraps at 32 bits to 2147483393.
  EXPECT_EQ(percent_of(2147483647, 0, 255), 21474834);
}

}  // namespace
}  // namespace vtl
