// Resampling rules, offset removal and percentages.

#include "conditioning/resample.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "test_util.h"

namespace vtl {
namespace {

using test::kNaN;

std::vector<float> resampled(const std::vector<float>& in, std::uint16_t n_out, std::uint16_t mode,
                             float fill = 0.0f) {
  std::vector<float> out(n_out > in.size() ? n_out : in.size(), fill);
  resample_buffer(in.data(), static_cast<std::uint16_t>(in.size()), out.data(), 0, n_out, mode);
  out.resize(n_out < in.size() ? n_out : in.size());
  return out;
}

TEST(Resample, ModesAndBins) {
  const std::vector<float> ramp = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9};
  EXPECT_EQ(resampled(ramp, 5, 0), (std::vector<float>{1, 3, 5, 7, 9}));
  EXPECT_EQ(resampled(ramp, 5, 1), (std::vector<float>{0.5f, 2.5f, 4.5f, 6.5f, 8.5f}));
  // r = 1.25 puts inputs 0 | 1, 2 | 3 | 4 into the four bins.
  const std::vector<float> five = {5, 1, 7, 2, 9};
  EXPECT_EQ(resampled(five, 4, 0), (std::vector<float>{5, 7, 2, 9}));
  EXPECT_EQ(resampled(five, 4, 1), (std::vector<float>{5, 4, 2, 9}));
  const std::vector<float> one_to_five = {1, 2, 3, 4, 5};
  EXPECT_EQ(resampled(one_to_five, 3, 2), (std::vector<float>{2, 3, 4}));
  EXPECT_EQ(resampled(one_to_five, 3, 2, 1e30f), (std::vector<float>{2, 3, 4}));  // seed times 0
  EXPECT_EQ(resampled(one_to_five, 2, 3), (std::vector<float>{1, 2}));
  EXPECT_EQ(resampled(one_to_five, 2, 4), (std::vector<float>{4, 5}));
  EXPECT_EQ(resampled(one_to_five, 7, 1), one_to_five);  // n_out >= n_in copies
  // Fallbacks: an all-NaN bin takes the previous output; other modes write only those.
  EXPECT_EQ(resampled({1, 2, kNaN, kNaN}, 2, 0), (std::vector<float>{2, 2}));
  EXPECT_EQ(resampled({3, 1, 2, 5}, 2, 7), (std::vector<float>{3, 3}));
  EXPECT_EQ(resampled({3, 1, 2, 5}, 2, 7, 100.0f), (std::vector<float>{100, 100}));

  std::vector<float> out(6, -1.0f);  // an offset leaves the earlier positions alone
  resample_buffer(ramp.data(), 10, out.data(), 3, 3, 3);
  EXPECT_EQ(out, (std::vector<float>{-1, -1, -1, 0, 1, 2}));
}

TEST(Resample, OffsetsAbsoluteValuesAndPercentages) {
  std::vector<float> blocks = {1, 2, 3, 10, 20, 30};
  remove_block_means(blocks.data(), 3, 2);
  EXPECT_EQ(blocks, (std::vector<float>{-1, 0, 1, -10, 0, 10}));
  std::vector<float> many(300, 7.0f);  // more than 255 blocks are all served
  remove_block_means(many.data(), 1, 300);
  EXPECT_EQ(many.back(), 0.0f);

  std::vector<float> values = {1, 2, 6, 99};
  remove_mean(values.data(), 65536 + 3);  // the low 16 bits count
  EXPECT_EQ(values, (std::vector<float>{-2, -1, 3, 99}));
  remove_mean(values.data(), 0);
  EXPECT_EQ(values[0], -2.0f);
  abs_in_place(values.data(), 2);
  EXPECT_EQ(values, (std::vector<float>{2, 1, 3, 99}));

  EXPECT_EQ(percent_of(200, 0, 25), 50);
  EXPECT_EQ(percent_of(-199, 0, 50), -99);  // truncated toward zero
  EXPECT_EQ(percent_of(200, 1, 25), 50);
  EXPECT_EQ(percent_of(16777216, 0, 128), -21474836);  // the product wraps in 32 bits
}

}  // namespace
}  // namespace vtl
