#include "features/buffer_features.h"

#include <gtest/gtest.h>

#include <cmath>

#include "test_util.h"

namespace vtl {
namespace {

using test::kNaN;

TEST(BufferFeatures, MomentsAndFactorsBitExact) {
  const float x[] = {1.0f, 2.0f, 3.0f, 10.0f};
  EXPECT_FLOAT_BITS(12.5f, feature_variance(x, 4));
  EXPECT_FLOAT_BITS(3.5355339f, feature_std(x, 4));
  EXPECT_FLOAT_BITS(5.3385391f, feature_rms(x, 4));
  EXPECT_FLOAT_BITS(1.8731716f, feature_crest_factor(x, 4));
  EXPECT_FLOAT_BITS(1.0182338f, feature_skewness(x, 4));
  EXPECT_FLOAT_BITS(-0.7695999f, feature_kurtosis(x, 4));
  EXPECT_FLOAT_BITS(2.995425f, feature_clearance_factor(x, 4));
  EXPECT_FLOAT_BITS(2.5f, feature_impulse_factor(x, 4));
  EXPECT_FLOAT_BITS(1.3346348f, feature_shape_factor(x, 4));
  EXPECT_EQ(3, feature_argmax(x, 4));

  // Single precision, left to right from x[0]: 1e8 + 1 rounds back to 1e8, and
  // a lone negative zero keeps its sign (a sum started at 0.0 would not).
  const float big[] = {1e8f, 1.0f, -1e8f};
  EXPECT_FLOAT_BITS(0.0f, feature_sum(big, 3));
  const float zero[] = {-0.0f};
  EXPECT_FLOAT_BITS(-0.0f, feature_sum(zero, 1));
}

TEST(BufferFeatures, CrossingsPeaksAndNaNRules) {
  const float x[] = {1.0f, -2.0f, 3.0f, -4.0f, 0.0f, 5.0f};
  EXPECT_EQ(3, feature_zero_crossings(x, 6));  // the pairs with the 0 do not count
  EXPECT_EQ(4, feature_mean_crossings(x, 6));  // around the mean 0.5
  EXPECT_FLOAT_BITS(9.0f, feature_peak_to_peak(x, 6));
  EXPECT_FLOAT_BITS(24.0f, feature_abs_diff_sum(x, 6));
  const float neg[] = {-7.0f, 3.0f};
  EXPECT_FLOAT_BITS(7.0f, feature_peak(neg, 2));

  const float nan_inside[] = {1.0f, kNaN, 3.0f};
  EXPECT_FLOAT_BITS(3.0f, feature_min(nan_inside, 3));  // NaN takes over, 3 takes back
  EXPECT_EQ(2, feature_argmax(nan_inside, 3));
  const float ties[] = {1.0f, 5.0f, 5.0f, 2.0f};
  EXPECT_EQ(1, feature_argmax(ties, 4));
}

TEST(BufferFeatures, ShortAndEmptyBuffers) {
  const float one[] = {-3.0f};
  EXPECT_TRUE(std::isnan(feature_skewness(one, 1)));
  EXPECT_TRUE(std::isnan(feature_kurtosis(one, 1)));
  EXPECT_EQ(0.0f, feature_entropy(one, 1));
  EXPECT_FLOAT_BITS(0.0f, feature_abs_diff_sum(one, 1));  // no pair: x[1] is not read

  // An empty buffer is never read: empty sums are 0, the other values NaN.
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
  EXPECT_EQ(0, feature_zero_crossings(none, 0) + feature_mean_crossings(none, 0) +
                   feature_argmax(none, 0));
}

TEST(BufferFeatures, OrderStatisticsAndEntropy) {
  const float x[] = {1.0f, 1.0f, 2.0f, 3.0f, 4.0f, 5.0f, 6.0f, 9.0f};
  EXPECT_FLOAT_BITS(1.0f, feature_percentile(x, 8, 5));
  EXPECT_FLOAT_BITS(7.9500003f, feature_percentile(x, 8, 95));
  EXPECT_FLOAT_BITS(3.5f, feature_median(x, 8));
  EXPECT_FLOAT_BITS(1.9061546f, feature_entropy(x, 8));

  // 0.01 is the float 0.0099999998, so 99 percent lands one step below 3.97.
  const float y[] = {1.0f, 2.0f, 3.0f, 4.0f};
  EXPECT_FLOAT_BITS(3.9699998f, feature_percentile(y, 4, 99));
  // Beyond 100 percent only the largest value is left; nothing past it is read.
  EXPECT_FLOAT_BITS(4.0f, feature_percentile(y, 4, 255));

  // Runs are counted as they lie; each NaN is a run of its own.
  const float pairs[] = {1.0f, 1.0f, 2.0f, 2.0f};
  EXPECT_FLOAT_BITS(0.6931472f, feature_entropy(pairs, 4));
  const float alternating[] = {1.0f, 2.0f, 1.0f, 2.0f};
  EXPECT_FLOAT_BITS(1.3862944f, feature_entropy(alternating, 4));
  const float nans[] = {kNaN, kNaN};
  EXPECT_FLOAT_BITS(0.6931472f, feature_entropy(nans, 2));
}

}  // namespace
}  // namespace vtl
