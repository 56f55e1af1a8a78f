#include "features/buffer_features.h"

#include <gtest/gtest.h>

#include <cmath>

#include "test_util.h"

namespace vtl {
namespace {

using test::kNaN;

TEST(BufferFeatures, MomentsAndFactorsOfOneBuffer) {
  const float x[] = {1.0f, 2.0f, 3.0f, 10.0f};
  EXPECT_FLOAT_BITS(16.0f, feature_sum(x, 4));
  EXPECT_FLOAT_BITS(114.0f, feature_sum_squares(x, 4));
  EXPECT_FLOAT_BITS(4.0f, feature_mean(x, 4));
  EXPECT_FLOAT_BITS(1.0f, feature_min(x, 4));
  EXPECT_FLOAT_BITS(10.0f, feature_max(x, 4));
  EXPECT_FLOAT_BITS(9.0f, feature_peak_to_peak(x, 4));
  EXPECT_FLOAT_BITS(10.0f, feature_peak(x, 4));
  EXPECT_FLOAT_BITS(12.5f, feature_variance(x, 4));
  EXPECT_FLOAT_BITS(3.5355339f, feature_std(x, 4));
  EXPECT_FLOAT_BITS(5.3385391f, feature_rms(x, 4));
  EXPECT_FLOAT_BITS(1.8731716f, feature_crest_factor(x, 4));
  EXPECT_FLOAT_BITS(1.0182338f, feature_skewness(x, 4));
  EXPECT_FLOAT_BITS(-0.7695999f, feature_kurtosis(x, 4));
  EXPECT_FLOAT_BITS(2.995425f, feature_clearance_factor(x, 4));
  EXPECT_FLOAT_BITS(2.5f, feature_impulse_factor(x, 4));
  EXPECT_FLOAT_BITS(1.3346348f, feature_shape_factor(x, 4));
  EXPECT_FLOAT_BITS(9.0f, feature_abs_diff_sum(x, 4));
  EXPECT_EQ(0, feature_zero_crossings(x, 4));
  EXPECT_EQ(1, feature_mean_crossings(x, 4));
  EXPECT_EQ(3, feature_argmax(x, 4));

  const float two[] = {1.0f, 3.0f};
  EXPECT_FLOAT_BITS(1.0f, feature_variance(two, 2));
  EXPECT_FLOAT_BITS(0.0f, feature_skewness(two, 2));
  EXPECT_FLOAT_BITS(-2.0f, feature_kurtosis(two, 2));
}

TEST(BufferFeatures, SumsRunInIndexOrderFromTheFirstTerm) {
  // Single precision, left to right: 1e8 + 1 rounds back to 1e8.
  const float x[] = {1e8f, 1.0f, -1e8f};
  EXPECT_FLOAT_BITS(0.0f, feature_sum(x, 3));
  // Starting from x[0] rather than from 0.0 keeps the sign of a negative zero.
  const float zeros[] = {-0.0f, -0.0f};
  EXPECT_FLOAT_BITS(-0.0f, feature_sum(zeros, 2));
  EXPECT_FLOAT_BITS(-0.0f, feature_sum(zeros, 1));
}

TEST(BufferFeatures, CrossingsPeaksAndDifferences) {
  const float x[] = {1.0f, -2.0f, 3.0f, -4.0f, 0.0f, 5.0f};
  EXPECT_EQ(3, feature_zero_crossings(x, 6));  // the pairs with the 0 do not count
  EXPECT_EQ(4, feature_mean_crossings(x, 6));  // around the mean 0.5
  EXPECT_FLOAT_BITS(5.0f, feature_peak(x, 6));
  EXPECT_FLOAT_BITS(9.0f, feature_peak_to_peak(x, 6));
  EXPECT_FLOAT_BITS(24.0f, feature_abs_diff_sum(x, 6));

  // A product that underflows to zero is not a crossing.
  const float tiny[] = {1e-30f, -1e-30f};
  EXPECT_EQ(0, feature_zero_crossings(tiny, 2));

  const float neg[] = {-7.0f, 3.0f};
  EXPECT_FLOAT_BITS(7.0f, feature_peak(neg, 2));
  const float sym[] = {-3.0f, 3.0f};
  EXPECT_FLOAT_BITS(3.0f, feature_peak(sym, 2));
}

TEST(BufferFeatures, ExtremesTiesAndNaN) {
  const float nan_inside[] = {1.0f, kNaN, 3.0f};
  EXPECT_FLOAT_BITS(3.0f, feature_min(nan_inside, 3));  // NaN takes over, 3 takes back
  EXPECT_FLOAT_BITS(3.0f, feature_max(nan_inside, 3));
  EXPECT_EQ(2, feature_argmax(nan_inside, 3));
  const float nan_last[] = {1.0f, kNaN};
  EXPECT_TRUE(std::isnan(feature_min(nan_last, 2)));

  const float nan_first[] = {kNaN, 5.0f, 7.0f};
  EXPECT_EQ(0, feature_argmax(nan_first, 3));
  const float ties[] = {1.0f, 5.0f, 5.0f, 2.0f};
  EXPECT_EQ(1, feature_argmax(ties, 4));

  // Equal values replace the running extreme: the later zero is kept.
  const float zeros[] = {0.0f, -0.0f};
  EXPECT_FLOAT_BITS(-0.0f, feature_min(zeros, 2));
  EXPECT_FLOAT_BITS(-0.0f, feature_max(zeros, 2));
}

TEST(BufferFeatures, SingleSampleAndDegenerateBuffers) {
  const float one[] = {-3.0f};
  EXPECT_FLOAT_BITS(-3.0f, feature_mean(one, 1));
  EXPECT_FLOAT_BITS(0.0f, feature_variance(one, 1));
  EXPECT_FLOAT_BITS(0.0f, feature_std(one, 1));
  EXPECT_FLOAT_BITS(3.0f, feature_rms(one, 1));
  EXPECT_TRUE(std::isnan(feature_skewness(one, 1)));
  EXPECT_TRUE(std::isnan(feature_kurtosis(one, 1)));
  EXPECT_EQ(0, feature_zero_crossings(one, 1));
  EXPECT_EQ(0, feature_mean_crossings(one, 1));
  EXPECT_EQ(0, feature_argmax(one, 1));
  EXPECT_EQ(0.0f, feature_entropy(one, 1));
  EXPECT_FLOAT_BITS(0.0f, feature_abs_diff_sum(one, 1));  // no pair to read

  const float zeros[] = {0.0f, 0.0f, 0.0f};
  EXPECT_TRUE(std::isnan(feature_crest_factor(zeros, 3)));
  EXPECT_TRUE(std::isnan(feature_impulse_factor(zeros, 3)));
  EXPECT_TRUE(std::isnan(feature_shape_factor(zeros, 3)));
  EXPECT_TRUE(std::isnan(feature_clearance_factor(zeros, 3)));
}

TEST(BufferFeatures, EmptyBufferIsNeverRead) {
  const float* none = nullptr;
  EXPECT_FLOAT_BITS(0.0f, feature_sum(none, 0));
  EXPECT_FLOAT_BITS(0.0f, feature_sum_squares(none, 0));
  EXPECT_FLOAT_BITS(0.0f, feature_abs_diff_sum(none, 0));
  for (auto f : {feature_mean, feature_min, feature_max, feature_peak_to_peak, feature_peak,
                 feature_variance, feature_std, feature_rms, feature_crest_factor,
                 feature_skewness, feature_kurtosis, feature_clearance_factor,
                 feature_impulse_factor, feature_shape_factor, feature_entropy, feature_median}) {
    EXPECT_TRUE(std::isnan(f(none, 0)));
  }
  EXPECT_TRUE(std::isnan(feature_percentile(none, 0, 0)));
  EXPECT_TRUE(std::isnan(feature_percentile(none, 0, 50)));
  EXPECT_EQ(0, feature_zero_crossings(none, 0));
  EXPECT_EQ(0, feature_mean_crossings(none, 0));
  EXPECT_EQ(0, feature_argmax(none, 0));
}

TEST(BufferFeatures, PercentilesOfSortedBuffer) {
  const float x[] = {1.0f, 1.0f, 2.0f, 3.0f, 4.0f, 5.0f, 6.0f, 9.0f};
  EXPECT_FLOAT_BITS(1.0f, feature_percentile(x, 8, 0));
  EXPECT_FLOAT_BITS(1.0f, feature_percentile(x, 8, 5));
  EXPECT_FLOAT_BITS(1.75f, feature_percentile(x, 8, 25));
  EXPECT_FLOAT_BITS(5.25f, feature_percentile(x, 8, 75));
  EXPECT_FLOAT_BITS(7.9500003f, feature_percentile(x, 8, 95));
  EXPECT_FLOAT_BITS(9.0f, feature_percentile(x, 8, 100));
  EXPECT_FLOAT_BITS(3.5f, feature_median(x, 8));

  // 0.01 is the float 0.0099999998, so 99 percent lands one step below 3.97.
  const float y[] = {1.0f, 2.0f, 3.0f, 4.0f};
  EXPECT_FLOAT_BITS(3.9699998f, feature_percentile(y, 4, 99));
  EXPECT_FLOAT_BITS(1.03f, feature_percentile(y, 4, 1));
  // Beyond 100 percent only the largest value is left; nothing past it is read.
  EXPECT_FLOAT_BITS(4.0f, feature_percentile(y, 4, 101));
  EXPECT_FLOAT_BITS(4.0f, feature_percentile(y, 4, 255));

  const float one[] = {7.0f};
  EXPECT_FLOAT_BITS(7.0f, feature_percentile(one, 1, 50));
  EXPECT_FLOAT_BITS(7.0f, feature_median(one, 1));
}

TEST(BufferFeatures, EntropyCountsRunsAsTheyLie) {
  const float sorted[] = {1.0f, 1.0f, 2.0f, 3.0f, 4.0f, 5.0f, 6.0f, 9.0f};
  EXPECT_FLOAT_BITS(1.9061546f, feature_entropy(sorted, 8));
  const float pairs[] = {1.0f, 1.0f, 2.0f, 2.0f};
  EXPECT_FLOAT_BITS(0.6931472f, feature_entropy(pairs, 4));
  const float alternating[] = {1.0f, 2.0f, 1.0f, 2.0f};
  EXPECT_FLOAT_BITS(1.3862944f, feature_entropy(alternating, 4));
  // Each NaN is a run of its own.
  const float nans[] = {kNaN, kNaN};
  EXPECT_FLOAT_BITS(0.6931472f, feature_entropy(nans, 2));
}

}  // namespace
}  // namespace vtl
