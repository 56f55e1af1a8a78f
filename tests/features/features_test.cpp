#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <random>
#include <vector>

#include "features/features.h"
#include "test_util.h"

namespace vtl {
namespace {

using test::kNaN;
using Floats = std::vector<float>;
constexpr float kUntouched = -777.0f;

// Names the first written place, so that a failure shows what was written where.
::testing::AssertionResult untouched(const Floats& v) {
  for (std::size_t i = 0; i < v.size(); ++i) {
    if (v[i] != kUntouched) return ::testing::AssertionFailure() << "[" << i << "] = " << v[i];
  }
  return ::testing::AssertionSuccess();
}

// The moments, factors and order statistics of ordinary buffers are checked bit for bit
// through extract_features below; these are the rules that one buffer cannot show.
TEST(BufferFeatures, SumsCountsAndExtremesOfSignedSamples) {
  // In single precision 1e8 + 1 rounds back to 1e8, and a lone negative zero keeps its
  // sign (a sum started at 0.0 would not).
  const float big[] = {1e8f, 1.0f, -1e8f}, negative_zero = -0.0f;
  EXPECT_FLOAT_BITS(0.0f, feature_sum(big, 3));
  EXPECT_FLOAT_BITS(-0.0f, feature_sum(&negative_zero, 1));
  const float x[] = {1, -2, 3, -4, 0, 5}, neg[] = {-7, 3};
  EXPECT_EQ(3, feature_zero_crossings(x, 6));  // the pairs with the 0 do not cross zero
  EXPECT_EQ(4, feature_mean_crossings(x, 6));  // the mean is 0.5
  EXPECT_FLOAT_BITS(24.0f, feature_abs_diff_sum(x, 6));
  EXPECT_FLOAT_BITS(7.0f, feature_peak(neg, 2));  // by magnitude
  // A NaN takes the running minimum or maximum over, and the next number takes it back;
  // it never becomes the maximum's index, nor is a NaN first replaced; ties keep the first.
  const float nan_inside[] = {1, kNaN, 3}, nan_last[] = {1, 3, kNaN}, nan_first[] = {kNaN, 1, 2};
  const float ties[] = {1, 5, 5, 2};
  EXPECT_FLOAT_BITS(3.0f, feature_min(nan_inside, 3));
  EXPECT_TRUE(std::isnan(feature_max(nan_last, 3)));
  EXPECT_EQ(2, feature_argmax(nan_inside, 3));
  EXPECT_EQ(0, feature_argmax(nan_first, 3));
  EXPECT_EQ(1, feature_argmax(ties, 4));
}

TEST(BufferFeatures, PercentileEntropyAndOneSample) {
  // 0.01 is the float 0.0099999998, so 99 percent lands one step below 3.97; beyond 100
  // percent only the largest value is left and nothing past it is read.
  const float y[] = {1, 2, 3, 4};
  EXPECT_FLOAT_BITS(3.9699998f, feature_percentile(y, 4, 99));
  EXPECT_FLOAT_BITS(4.0f, feature_percentile(y, 4, 255));
  // Entropy counts runs as they lie; each NaN is a run of its own.
  const float pairs[] = {1, 1, 2, 2}, alternating[] = {1, 2, 1, 2}, nans[] = {kNaN, kNaN};
  EXPECT_FLOAT_BITS(0.6931472f, feature_entropy(pairs, 4));
  EXPECT_FLOAT_BITS(0.6931472f, feature_entropy(nans, 2));
  EXPECT_FLOAT_BITS(1.3862944f, feature_entropy(alternating, 4));
  // One sample has no shape, no entropy and no pair (x[1] is not read).
  const float one = -3.0f;
  EXPECT_TRUE(std::isnan(feature_skewness(&one, 1)));
  EXPECT_TRUE(std::isnan(feature_kurtosis(&one, 1)));
  EXPECT_EQ(0.0f, feature_entropy(&one, 1));
  EXPECT_FLOAT_BITS(0.0f, feature_abs_diff_sum(&one, 1));
}

TEST(BufferFeatures, AnEmptyBufferIsNeverRead) {
  // Empty sums and counts are 0, the other values NaN.
  for (auto f : {feature_sum, feature_sum_squares, feature_abs_diff_sum})
    EXPECT_FLOAT_BITS(0.0f, f(nullptr, 0));
  for (auto f : {feature_mean, feature_min, feature_max, feature_peak_to_peak, feature_peak,
                 feature_variance, feature_std, feature_rms, feature_crest_factor, feature_skewness,
                 feature_kurtosis, feature_clearance_factor, feature_impulse_factor,
                 feature_shape_factor, feature_entropy, feature_median})
    EXPECT_TRUE(std::isnan(f(nullptr, 0)));
  EXPECT_TRUE(std::isnan(feature_percentile(nullptr, 0, 0)));
  for (auto f : {feature_zero_crossings, feature_mean_crossings, feature_argmax})
    EXPECT_EQ(0, f(nullptr, 0));
}

TEST(MergeSort, EqualValuesTakeTheRightRunFirst) {
  // Equal values show their order through the signs of zeros, told apart bit for bit.
  const Floats cases[][2] = {{{1, 0.0f, -0.0f}, {-0.0f, 0.0f, 1}},
                             {{2, -0.0f, 0.0f, 1}, {0.0f, -0.0f, 1, 2}},
                             {{0.0f, -0.0f}, {0.0f, -0.0f}},  // in order: no merge
                             {{5, kNaN, 1, 3}, {5, kNaN, 1, 3}}};
  for (const auto& [input, sorted] : cases) {
    Floats v = input, tmp(v.size());
    sort_range(v.data(), tmp.data(), 0, static_cast<std::uint16_t>(v.size() - 1));
    for (std::size_t i = 0; i < v.size(); ++i) EXPECT_FLOAT_BITS(sorted[i], v[i]) << i;
  }
}

TEST(MergeSort, RandomRangesMatchAStableSortAndStayInside) {
  std::mt19937 rng(7);
  std::uniform_real_distribution<float> dist(-100.0f, 100.0f);
  const float guard = 12345.0f;
  for (std::uint16_t len : {2, 3, 17, 1023}) {
    const std::uint16_t lo = 3;
    Floats a(lo + len + 3, guard), tmp(len + 4, guard);
    for (std::uint16_t i = 0; i < len; ++i) a[lo + i] = dist(rng);
    Floats expect(a);
    std::stable_sort(expect.begin() + lo, expect.begin() + lo + len);
    merge_sort_range(a.data(), tmp.data(), lo, static_cast<std::uint16_t>(lo + len - 1));
    EXPECT_EQ(expect, a) << "length " << len;
    EXPECT_EQ(guard, tmp[len]) << "length " << len;
  }
}

TEST(MergeSort, ARangeEndingAtIndex65535IsSortedWhole) {
  Floats big(65536), scratch(65536);
  for (std::size_t i = 0; i < big.size(); ++i) big[i] = static_cast<float>(big.size() - i);
  sort_range(big.data(), scratch.data(), 0, 65535);
  EXPECT_TRUE(std::is_sorted(big.begin(), big.end()));
}

TEST(MergeSort, SmallHelpersAndDegenerateArguments) {
  const Floats two{4, 1};
  Floats dst{0, 0}, spare(2), v{1, 2, 3, 4, 5, 6};
  sorted_copy(two.data(), dst.data(), spare.data(), 2);
  EXPECT_EQ(Floats({1, 4}), dst);
  sorted_copy(two.data(), dst.data(), nullptr, 1);  // one value needs no scratch
  EXPECT_EQ(Floats({4, 4}), dst);
  reverse_blocks(v.data(), 2, 3);
  EXPECT_EQ(Floats({3, 2, 1, 6, 5, 4}), v);
  // Null buffers: nothing may be read.
  merge_sort_range(nullptr, nullptr, 5, 5);
  merge_sort_range(nullptr, nullptr, 9, 2);
  sort_range(nullptr, nullptr, 65535, 0);
  sorted_copy(nullptr, nullptr, nullptr, 0);
  merge_runs(nullptr, nullptr, 4, 4, 4);  // no right run
  merge_runs(nullptr, nullptr, 6, 5, 9);  // left run outside the range
  reverse_blocks(nullptr, 5, 1);
  reverse_blocks(nullptr, -5, 100);
}

TEST(CentroidDistances, MeasureFromTheirOwnCentroidOrFromTheGivenCenter) {
  const float data[] = {0, 0, 3, 4, 6, 8};
  Floats center{-1, -1}, origin{0, 0}, dist(9, 7.0f);
  centroid_distances(data, &dist[0], center.data(), 3, 2, 0);
  centroid_distances(data, &dist[3], origin.data(), 3, 2, 1);
  EXPECT_EQ(Floats({3, 4}), center);  // the own centroid is written back
  EXPECT_EQ(Floats({0, 0}), origin);
  // No column gives zeros, no row touches nothing.
  float none = 9.0f;
  centroid_distances(data, &dist[6], nullptr, 3, 0, 0);
  centroid_distances(nullptr, nullptr, &none, 0, 3, 0);
  EXPECT_EQ(Floats({5, 0, 5, 0, 5, 10, 0, 0, 0}), dist);
  EXPECT_EQ(9.0f, none);
}

// The spectrum of each routine for one real frame (one channel for the norm).
struct Spectra {
  Floats centered, amplitude, norm;
  explicit Spectra(const Floats& x) : centered(x.size()), amplitude(x.size()), norm(x.size()) {
    const auto n = static_cast<std::uint16_t>(x.size());
    Floats frame(x), work(n);
    centered_spectrum(frame.data(), centered.data(), n);
    amplitude_spectrum(x.data(), work.data(), amplitude.data(), n);
    norm_spectrum(x.data(), 1, work.data(), norm.data(), n);
  }
};

TEST(Spectra, TwoSamplesHoldTheHalfDifferenceAndANaNSpreadsButWhereCentered) {
  const Spectra two({2.0f, 7.0f});
  EXPECT_FLOAT_BITS(5.0f, two.centered[0]);
  EXPECT_FLOAT_BITS(5.0f, two.amplitude[0]);
  EXPECT_FLOAT_BITS(5.0f, two.norm[0]);
  const float samples[] = {3, 4, 6, 8};  // two samples of two channels: norms 5 and 10
  Floats mag(2), amplitudes(2);
  norm_spectrum(samples, 2, mag.data(), amplitudes.data(), 2);
  EXPECT_FLOAT_BITS(5.0f, amplitudes[0]);
  // A NaN sample reaches every bin, except in the centered spectrum, which drops it.
  Floats x(16, 1.0f);
  x[5] = kNaN;
  const Spectra s(x);
  for (int k = 0; k < 8; ++k) {
    EXPECT_FLOAT_BITS(0.0f, s.centered[k]) << k;
    EXPECT_TRUE(std::isnan(s.amplitude[k])) << k << ": " << s.amplitude[k];
    EXPECT_TRUE(std::isnan(s.norm[k])) << k << ": " << s.norm[k];
  }
}

TEST(Spectra, ACosineShowsItsAmplitudeAtItsFrequency) {
  // A cosine that completes f periods in the frame shows its amplitude at place f - 1.
  for (std::uint16_t n : {8, 64, 1024})
    for (int f : {1, 3, n / 2 - 1}) {
      Floats x(n);
      for (int t = 0; t < n; ++t) x[t] = 3.0f * float(std::cos(2 * std::numbers::pi * f * t / n));
      const Spectra s(x);
      for (int k = 0; k < n / 2; ++k)
        for (float v : {s.amplitude[k], s.centered[k]})
          EXPECT_NEAR(k == f - 1 ? 3.0f : 0.0f, v, 1e-3f) << "n " << n << " f " << f << " k " << k;
    }
}

TEST(Spectra, LengthsWithoutATransformTouchNothing) {
  for (std::uint16_t n : {0, 3, 12, 1000, 65535}) {  // no transform: nothing touched
    Floats x(n, kUntouched), a(n, kUntouched), b(n, kUntouched);
    centered_spectrum(x.data(), a.data(), n);
    amplitude_spectrum(x.data(), a.data(), b.data(), n);
    norm_spectrum(x.data(), 1, a.data(), b.data(), n);
    for (const Floats* v : {&x, &a, &b}) EXPECT_TRUE(untouched(*v)) << "n " << n;
  }
}

using Slots = std::array<std::uint8_t, kFeatureCount>;

// Features first .. last in the row of their own number, the rest left out.
Slots identity_slots(int first, int last) {
  Slots s;
  s.fill(255);
  for (int k = first; k <= last; ++k) s[k] = static_cast<std::uint8_t>(k);
  return s;
}

// One call filling column 1 of a kFeatureCount x 2 matrix; len is n or fft_len.
struct Call {
  Floats matrix = Floats(kFeatureCount * 2, kUntouched), sorted, fft_work, spectrum;
  Call(const Floats& signal, const Slots& slots, std::uint16_t rows, std::uint8_t frequency,
       std::uint16_t len)
      : sorted(signal.size() + 1, kUntouched), fft_work(sorted), spectrum(sorted) {
    extract_features(signal.data(), matrix.data(), slots.data(), sorted.data(), 1, 2, len,
                     fft_work.data(), spectrum.data(), len, rows, frequency);
  }
  float at(int row) const { return matrix[row * 2 + 1]; }
};

// In identifier order, from the 5th percentile to the entropy, of (1, 2, 3, 10).
const float kFeaturesOf1To10[23] = {
    1.15f,     1.75f, 4.75f,      8.949999f, 2.5f,       4.0f,       1.0f,        10.0f,
    10.0f,     9.0f,  3.5355339f, 12.5f,     5.3385391f, 1.8731716f, -0.7695999f, 1.0182338f,
    2.995425f, 2.5f,  1.3346348f, 9.0f,      0.0f,       1.0f,       1.3862944f};

TEST(ExtractFeatures, EveryTimeDomainFeatureLandsInItsRow) {
  const Call call({1, 2, 3, 10}, identity_slots(0, 22), kFeatureCount, 0, 4);
  for (int k = 0; k < 23; ++k)
    EXPECT_FLOAT_BITS(kFeaturesOf1To10[k], call.at(k)) << "feature " << k;
  for (int r = 0; r < kFeatureCount; ++r) EXPECT_EQ(kUntouched, call.matrix[r * 2]);
  EXPECT_TRUE(untouched(call.fft_work));

  const Call mixed({4, -1, 2.5f, -1, 0, 3, -2, 1.5f}, identity_slots(0, 22), 23, 0, 8);
  EXPECT_EQ(Floats({-2, -1, -1, 0, 1.5f, 2.5f, 3, 4, kUntouched}), mixed.sorted);
  EXPECT_FLOAT_BITS(-1.6500001f, mixed.at(FEAT_P5));
  EXPECT_FLOAT_BITS(1.9061546f, mixed.at(FEAT_ENTROPY));
}

TEST(ExtractFeatures, OfTwoFeaturesInOneRowTheLaterWrittenStays) {
  // Neighbours in this order all differ on (1, 2, 3, 10).
  // clang-format off
  const FeatureId order[] = {
      FEAT_MIN, FEAT_MAX, FEAT_PEAK_TO_PEAK, FEAT_PEAK, FEAT_MEAN, FEAT_VARIANCE, FEAT_STD,
      FEAT_SKEWNESS, FEAT_KURTOSIS, FEAT_ZERO_CROSSINGS, FEAT_MEAN_CROSSINGS, FEAT_RMS,
      FEAT_SHAPE_FACTOR, FEAT_IMPULSE_FACTOR, FEAT_CLEARANCE_FACTOR, FEAT_CREST_FACTOR,
      FEAT_ABS_DIFF_SUM, FEAT_P5, FEAT_P25, FEAT_P75, FEAT_P95, FEAT_MEDIAN, FEAT_ENTROPY};
  // clang-format on
  for (int i = 1; i < 23; ++i) {
    Slots pair;
    pair.fill(255);
    pair[order[i - 1]] = pair[order[i]] = 0;
    EXPECT_FLOAT_BITS(kFeaturesOf1To10[order[i]], Call({1, 2, 3, 10}, pair, 1, 0, 4).at(0))
        << int(order[i]);
  }
}

TEST(ExtractFeatures, OnlySelectedFeaturesTouchTheBuffers) {
  const Floats x{3.0f, -2.0f, 8.0f};
  Slots off;
  off.fill(5);  // at rows (5), or anything with rows 0
  for (std::uint8_t frequency : {0, 1})
    for (std::uint16_t rows : {0, 5}) {
      const Call call(x, off, rows, frequency, 2);
      for (const Floats* buffer : {&call.matrix, &call.sorted, &call.fft_work, &call.spectrum})
        EXPECT_TRUE(untouched(*buffer)) << "rows " << rows << ", frequency " << int(frequency);
    }
  // Features of the samples alone leave the sort buffers alone.
  const Call plain(x, identity_slots(5, 21), kFeatureCount, 0, 3);
  EXPECT_TRUE(untouched(plain.sorted));
  EXPECT_TRUE(untouched(plain.spectrum));
}

TEST(ExtractFeatures, AnEmptySignalOrAColumnOutsideIsReadNowhere) {
  const Floats x{3.0f, -2.0f, 8.0f};
  Floats m(kFeatureCount, kUntouched);
  const Slots all = identity_slots(0, 22);
  extract_features(nullptr, m.data(), all.data(), nullptr, 0, 1, 0, nullptr, nullptr, 0,
                   kFeatureCount, 0);
  EXPECT_TRUE(std::isnan(m[FEAT_P5])) << m[FEAT_P5];
  EXPECT_TRUE(std::isnan(m[FEAT_MEAN])) << m[FEAT_MEAN];
  EXPECT_FLOAT_BITS(0.0f, m[FEAT_ABS_DIFF_SUM]);
  std::fill(m.begin(), m.end(), kUntouched);
  extract_features(x.data(), m.data(), all.data(), nullptr, 1, 1, 3, nullptr, nullptr, 4,
                   kFeatureCount, 0);
  EXPECT_TRUE(untouched(m));
}

TEST(ExtractFeatures, FrequencyDomainFeaturesComeFromTheSpectrumAlone) {
  // Spectrum (0, 2): everything in the last place (DFT bin 2); no time-domain work.
  const Call four({1, -1, 1, -1}, identity_slots(0, 26), kFeatureCount, 1, 4);
  EXPECT_FLOAT_BITS(2.0f, four.at(FEAT_SPECTRAL_PEAK));
  EXPECT_FLOAT_BITS(1.0f, four.at(FEAT_SPECTRAL_PEAK_BIN));
  EXPECT_FLOAT_BITS(2.0f, four.at(FEAT_SPECTRAL_SUM));
  EXPECT_FLOAT_BITS(4.0f, four.at(FEAT_SPECTRAL_ENERGY));
  EXPECT_TRUE(untouched(four.sorted));
  EXPECT_FLOAT_BITS(kUntouched, four.at(FEAT_MEAN));
  // Lengths 0 and 1 have no spectrum value, 3 and 6 no transform: nothing is written.
  for (std::uint16_t len : {0, 1, 3, 6}) {
    const Call bad({1, 2, 0, -1, 4, 1}, identity_slots(23, 26), 27, 1, len);
    for (const Floats* buffer : {&bad.matrix, &bad.fft_work, &bad.spectrum})
      EXPECT_TRUE(untouched(*buffer)) << "length " << len;
  }
}

}  // namespace
}  // namespace vtl
