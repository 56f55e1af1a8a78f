#include "features/extract.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <vector>

#include "features/buffer_features.h"
#include "test_util.h"

namespace vtl {
namespace {

using test::bits;

constexpr float kUntouched = -777.0f;
using Slots = std::array<std::uint8_t, kFeatureCount>;

// Every feature from first to last in the row of its own number, the rest off.
Slots identity_slots(int first, int last) {
  Slots s;
  s.fill(255);
  for (int k = first; k <= last; ++k) s[k] = static_cast<std::uint8_t>(k);
  return s;
}

// A matrix of kFeatureCount rows x 2 columns; the calls below fill column 1.
struct TimeCall {
  std::vector<float> matrix = std::vector<float>(kFeatureCount * 2, kUntouched);
  std::vector<float> sorted;
  std::vector<float> fft_work;
  std::vector<float> spectrum;

  void run(const std::vector<float>& signal, const Slots& slots, std::uint16_t rows) {
    sorted.assign(signal.size() + 1, kUntouched);
    fft_work.assign(signal.size() + 1, kUntouched);
    spectrum.assign(signal.size() + 1, kUntouched);
    extract_features(signal.data(), matrix.data(), slots.data(), sorted.data(), 1, 2,
                     static_cast<std::uint16_t>(signal.size()), fft_work.data(),
                     spectrum.data(), static_cast<std::uint16_t>(signal.size()), rows, 0);
  }
  float at(int row) const { return matrix[row * 2 + 1]; }
  bool column_zero_untouched() const {
    for (int r = 0; r < kFeatureCount; ++r) {
      if (matrix[r * 2] != kUntouched) return false;
    }
    return true;
  }
};

TEST(ExtractFeatures, TimeDomainSetMatchesTheSingleRoutines) {
  const std::vector<float> x{1.0f, 2.0f, 3.0f, 10.0f};
  TimeCall call;
  call.run(x, identity_slots(0, 22), kFeatureCount);
  EXPECT_FLOAT_BITS(1.15f, call.at(FEAT_P5));
  EXPECT_FLOAT_BITS(1.75f, call.at(FEAT_P25));
  EXPECT_FLOAT_BITS(4.75f, call.at(FEAT_P75));
  EXPECT_FLOAT_BITS(8.949999f, call.at(FEAT_P95));
  EXPECT_FLOAT_BITS(2.5f, call.at(FEAT_MEDIAN));
  EXPECT_FLOAT_BITS(1.3862944f, call.at(FEAT_ENTROPY));
  EXPECT_FLOAT_BITS(4.0f, call.at(FEAT_MEAN));
  EXPECT_FLOAT_BITS(12.5f, call.at(FEAT_VARIANCE));
  EXPECT_FLOAT_BITS(3.5355339f, call.at(FEAT_STD));
  EXPECT_FLOAT_BITS(1.0182338f, call.at(FEAT_SKEWNESS));
  EXPECT_FLOAT_BITS(-0.7695999f, call.at(FEAT_KURTOSIS));
  EXPECT_FLOAT_BITS(2.995425f, call.at(FEAT_CLEARANCE_FACTOR));
  EXPECT_FLOAT_BITS(0.0f, call.at(FEAT_ZERO_CROSSINGS));
  EXPECT_FLOAT_BITS(1.0f, call.at(FEAT_MEAN_CROSSINGS));
  EXPECT_FLOAT_BITS(9.0f, call.at(FEAT_ABS_DIFF_SUM));
  EXPECT_EQ(1.0f, call.sorted[0]);
  EXPECT_EQ(10.0f, call.sorted[3]);
  EXPECT_EQ(kUntouched, call.sorted[4]);
  EXPECT_TRUE(call.column_zero_untouched());
  for (float v : call.fft_work) EXPECT_EQ(kUntouched, v);
  for (int r = FEAT_SPECTRAL_PEAK; r < kFeatureCount; ++r) EXPECT_EQ(kUntouched, call.at(r));
}

TEST(ExtractFeatures, UnsortedSignalUsesItsSortedCopy) {
  const std::vector<float> x{4.0f, -1.0f, 2.5f, -1.0f, 0.0f, 3.0f, -2.0f, 1.5f};
  TimeCall call;
  call.run(x, identity_slots(0, 22), 23);
  const std::vector<float> ascending{-2.0f, -1.0f, -1.0f, 0.0f, 1.5f, 2.5f, 3.0f, 4.0f};
  EXPECT_EQ(ascending, std::vector<float>(call.sorted.begin(), call.sorted.begin() + 8));
  EXPECT_FLOAT_BITS(-1.6500001f, call.at(FEAT_P5));
  EXPECT_FLOAT_BITS(-1.0f, call.at(FEAT_P25));
  EXPECT_FLOAT_BITS(2.625f, call.at(FEAT_P75));
  EXPECT_FLOAT_BITS(3.65f, call.at(FEAT_P95));
  EXPECT_FLOAT_BITS(0.75f, call.at(FEAT_MEDIAN));
  EXPECT_FLOAT_BITS(1.9061546f, call.at(FEAT_ENTROPY));
  EXPECT_FLOAT_BITS(0.875f, call.at(FEAT_MEAN));
  EXPECT_FLOAT_BITS(4.171875f, call.at(FEAT_VARIANCE));
  EXPECT_FLOAT_BITS(4.0f, call.at(FEAT_PEAK));
  EXPECT_FLOAT_BITS(5.0f, call.at(FEAT_ZERO_CROSSINGS));
  EXPECT_FLOAT_BITS(6.0f, call.at(FEAT_MEAN_CROSSINGS));
  EXPECT_FLOAT_BITS(24.5f, call.at(FEAT_ABS_DIFF_SUM));

  // Every time-domain value is exactly what its own routine returns.
  const float* s = x.data();
  EXPECT_FLOAT_BITS(feature_min(s, 8), call.at(FEAT_MIN));
  EXPECT_FLOAT_BITS(feature_max(s, 8), call.at(FEAT_MAX));
  EXPECT_FLOAT_BITS(feature_peak_to_peak(s, 8), call.at(FEAT_PEAK_TO_PEAK));
  EXPECT_FLOAT_BITS(feature_std(s, 8), call.at(FEAT_STD));
  EXPECT_FLOAT_BITS(feature_rms(s, 8), call.at(FEAT_RMS));
  EXPECT_FLOAT_BITS(feature_crest_factor(s, 8), call.at(FEAT_CREST_FACTOR));
  EXPECT_FLOAT_BITS(feature_kurtosis(s, 8), call.at(FEAT_KURTOSIS));
  EXPECT_FLOAT_BITS(feature_skewness(s, 8), call.at(FEAT_SKEWNESS));
  EXPECT_FLOAT_BITS(feature_clearance_factor(s, 8), call.at(FEAT_CLEARANCE_FACTOR));
  EXPECT_FLOAT_BITS(feature_impulse_factor(s, 8), call.at(FEAT_IMPULSE_FACTOR));
  EXPECT_FLOAT_BITS(feature_shape_factor(s, 8), call.at(FEAT_SHAPE_FACTOR));
}

TEST(ExtractFeatures, NothingSelectedTouchesNothing) {
  const std::vector<float> x{1.0f, 5.0f, 2.0f};
  for (std::uint16_t rows : {0, 5}) {
    TimeCall call;
    Slots slots;
    slots.fill(5);  // at or beyond rows (5), or any entry with rows 0
    call.run(x, slots, rows);
    for (float v : call.matrix) EXPECT_EQ(kUntouched, v);
    for (float v : call.sorted) EXPECT_EQ(kUntouched, v);
    for (float v : call.spectrum) EXPECT_EQ(kUntouched, v);
  }
  // Features of the samples alone leave the sort buffers alone.
  TimeCall call;
  call.run(x, identity_slots(5, 21), kFeatureCount);
  EXPECT_FLOAT_BITS(5.0f, call.at(FEAT_MAX));
  for (float v : call.sorted) EXPECT_EQ(kUntouched, v);
  for (float v : call.spectrum) EXPECT_EQ(kUntouched, v);
}

TEST(ExtractFeatures, SharedSlotKeepsTheLaterFeature) {
  const std::vector<float> x{3.0f, -2.0f, 8.0f};
  Slots slots;
  slots.fill(255);
  slots[FEAT_MIN] = 0;
  slots[FEAT_MAX] = 0;
  slots[FEAT_MEDIAN] = 1;
  slots[FEAT_MEAN] = 1;  // the median comes after every feature of the raw samples
  TimeCall call;
  call.run(x, slots, 2);
  EXPECT_FLOAT_BITS(8.0f, call.at(0));
  EXPECT_FLOAT_BITS(3.0f, call.at(1));
  for (int r = 2; r < kFeatureCount; ++r) EXPECT_EQ(kUntouched, call.at(r));
}

TEST(ExtractFeatures, ShortAndEmptySignals) {
  TimeCall one;
  one.run({-2.5f}, identity_slots(0, 22), kFeatureCount);
  for (int k : {FEAT_P5, FEAT_P25, FEAT_P75, FEAT_P95, FEAT_MEDIAN}) {
    EXPECT_FLOAT_BITS(-2.5f, one.at(k));
  }
  EXPECT_EQ(0.0f, one.at(FEAT_ENTROPY));
  EXPECT_FLOAT_BITS(0.0f, one.at(FEAT_ABS_DIFF_SUM));
  for (float v : one.spectrum) EXPECT_EQ(kUntouched, v);  // one value is not sorted

  // An empty signal is read nowhere; each feature takes its empty-buffer value.
  std::vector<float> matrix(kFeatureCount, kUntouched);
  const Slots slots = identity_slots(0, 22);
  extract_features(nullptr, matrix.data(), slots.data(), nullptr, 0, 1, 0, nullptr, nullptr, 0,
                   kFeatureCount, 0);
  EXPECT_TRUE(std::isnan(matrix[FEAT_MEAN]));
  EXPECT_TRUE(std::isnan(matrix[FEAT_P5]));
  EXPECT_FLOAT_BITS(0.0f, matrix[FEAT_ZERO_CROSSINGS]);
  EXPECT_FLOAT_BITS(0.0f, matrix[FEAT_ABS_DIFF_SUM]);

  // A column outside the matrix selects nothing.
  std::vector<float> small(kFeatureCount, kUntouched);
  const float x[] = {1.0f, 2.0f};
  extract_features(x, small.data(), slots.data(), nullptr, 1, 1, 2, nullptr, nullptr, 2,
                   kFeatureCount, 0);
  for (float v : small) EXPECT_EQ(kUntouched, v);
}

}  // namespace
}  // namespace vtl
