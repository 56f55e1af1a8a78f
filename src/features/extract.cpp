#include "features/extract.h"

#include <cstddef>

#include "features/buffer_features.h"
#include "features/magnitudes.h"
#include "features/merge_sort.h"

namespace vtl {

namespace {

using BufferFeature = float (*)(const float*, std::uint16_t);

struct FeatureStep {
  FeatureId id;
  BufferFeature compute;
};

float zero_crossings_value(const float* x, std::uint16_t n) {
  return static_cast<float>(feature_zero_crossings(x, n));
}
float mean_crossings_value(const float* x, std::uint16_t n) {
  return static_cast<float>(feature_mean_crossings(x, n));
}
float argmax_value(const float* x, std::uint16_t n) {
  return static_cast<float>(feature_argmax(x, n));
}
float p5_value(const float* x, std::uint16_t n) { return feature_percentile(x, n, 5); }
float p25_value(const float* x, std::uint16_t n) { return feature_percentile(x, n, 25); }
float p75_value(const float* x, std::uint16_t n) { return feature_percentile(x, n, 75); }
float p95_value(const float* x, std::uint16_t n) { return feature_percentile(x, n, 95); }

// Features of the raw samples, in the order they are written.
constexpr FeatureStep kSampleSteps[] = {
    {FEAT_MIN, feature_min},
    {FEAT_MAX, feature_max},
    {FEAT_PEAK_TO_PEAK, feature_peak_to_peak},
    {FEAT_PEAK, feature_peak},
    {FEAT_MEAN, feature_mean},
    {FEAT_VARIANCE, feature_variance},
    {FEAT_STD, feature_std},
    {FEAT_SKEWNESS, feature_skewness},
    {FEAT_KURTOSIS, feature_kurtosis},
    {FEAT_ZERO_CROSSINGS, zero_crossings_value},
    {FEAT_MEAN_CROSSINGS, mean_crossings_value},
    {FEAT_RMS, feature_rms},
    {FEAT_SHAPE_FACTOR, feature_shape_factor},
    {FEAT_IMPULSE_FACTOR, feature_impulse_factor},
    {FEAT_CLEARANCE_FACTOR, feature_clearance_factor},
    {FEAT_CREST_FACTOR, feature_crest_factor},
    {FEAT_ABS_DIFF_SUM, feature_abs_diff_sum},
};

// Features of the ascending copy, written after the others.
constexpr FeatureStep kSortedSteps[] = {
    {FEAT_P5, p5_value},   {FEAT_P25, p25_value},         {FEAT_P75, p75_value},
    {FEAT_P95, p95_value}, {FEAT_MEDIAN, feature_median}, {FEAT_ENTROPY, feature_entropy},
};

// Features of the amplitude spectrum.
constexpr FeatureStep kSpectralSteps[] = {
    {FEAT_SPECTRAL_PEAK, feature_peak},
    {FEAT_SPECTRAL_PEAK_BIN, argmax_value},
    {FEAT_SPECTRAL_SUM, feature_sum},
    {FEAT_SPECTRAL_ENERGY, feature_sum_squares},
};

// Where the selected features of one call go in the matrix.
struct MatrixColumn {
  float* features;
  const std::uint8_t* slots;
  std::uint8_t column;
  std::uint8_t columns;
  std::uint16_t rows;

  bool selected(FeatureId id) const { return slots[id] < rows; }

  template <std::size_t N>
  bool any_selected(const FeatureStep (&steps)[N]) const {
    for (const FeatureStep& step : steps) {
      if (selected(step.id)) return true;
    }
    return false;
  }

  // Computes and writes each selected feature at once, in table order.
  template <std::size_t N>
  void write(const FeatureStep (&steps)[N], const float* x, std::uint16_t n) const {
    for (const FeatureStep& step : steps) {
      if (!selected(step.id)) continue;
      const std::size_t at = static_cast<std::size_t>(slots[step.id]) * columns + column;
      features[at] = step.compute(x, n);
    }
  }
};

}  // namespace

void extract_features(const float* signal, float* features, const std::uint8_t* slots,
                      float* sorted, std::uint8_t column, std::uint8_t columns, std::uint16_t n,
                      float* fft_work, float* spectrum, std::uint16_t fft_len, std::uint16_t rows,
                      std::uint8_t frequency) {
  if (column >= columns) return;  // the column is not in the matrix
  const MatrixColumn out{features, slots, column, columns, rows};

  if (frequency != 0) {
    if (!out.any_selected(kSpectralSteps)) return;
    // Below 2 points there is no spectrum value; other lengths have no transform.
    if (fft_len < 2 || (fft_len & (fft_len - 1u)) != 0) return;
    amplitude_spectrum(signal, fft_work, spectrum, fft_len);
    out.write(kSpectralSteps, spectrum, static_cast<std::uint16_t>(fft_len / 2u));
    return;
  }

  out.write(kSampleSteps, signal, n);
  if (!out.any_selected(kSortedSteps)) return;
  sorted_copy(signal, sorted, spectrum, n);
  out.write(kSortedSteps, sorted, n);
}

}  // namespace vtl
