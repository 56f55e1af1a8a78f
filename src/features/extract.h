#pragma once
// Feature extraction into a feature matrix: a selected subset of the buffer
// features of one signal axis, each written to the matrix row that a slot table
// gives it, in the column of that axis.

#include <cstdint>

namespace vtl {

// Index into the slot table.
enum FeatureId : std::uint8_t {
  // Time-domain set.
  FEAT_P5 = 0,
  FEAT_P25 = 1,
  FEAT_P75 = 2,
  FEAT_P95 = 3,
  FEAT_MEDIAN = 4,
  FEAT_MEAN = 5,
  FEAT_MIN = 6,
  FEAT_MAX = 7,
  FEAT_PEAK = 8,
  FEAT_PEAK_TO_PEAK = 9,
  FEAT_STD = 10,
  FEAT_VARIANCE = 11,
  FEAT_RMS = 12,
  FEAT_CREST_FACTOR = 13,
  FEAT_KURTOSIS = 14,
  FEAT_SKEWNESS = 15,
  FEAT_CLEARANCE_FACTOR = 16,
  FEAT_IMPULSE_FACTOR = 17,
  FEAT_SHAPE_FACTOR = 18,
  FEAT_ABS_DIFF_SUM = 19,
  FEAT_ZERO_CROSSINGS = 20,
  FEAT_MEAN_CROSSINGS = 21,
  FEAT_ENTROPY = 22,
  // Frequency-domain set, over the amplitude spectrum (value k is DFT bin k + 1).
  FEAT_SPECTRAL_PEAK = 23,
  FEAT_SPECTRAL_PEAK_BIN = 24,
  FEAT_SPECTRAL_SUM = 25,
  FEAT_SPECTRAL_ENERGY = 26,
};

inline constexpr std::uint8_t kFeatureCount = 27;

// Feature k is selected when slots[k] < rows and is then written to
// features[slots[k] * columns + column]; nothing else of the matrix is touched,
// and a column at or beyond columns selects nothing.
//
// frequency == 0: the time-domain features of signal[0 .. n-1]. sorted (n
// floats) receives an ascending copy, with spectrum (n floats) as the sort's
// scratch, only when a percentile, the median or the entropy is selected;
// fft_work is not touched.
// frequency != 0: the spectral features of the amplitude spectrum of
// signal[0 .. fft_len-1]; fft_work and spectrum (fft_len floats each) are used
// only when one of them is selected, and fft_len must be a power of two of at
// least 2, otherwise nothing is touched.
//
// Features are written in a fixed order, so of two selected features that share
// a slot the later one stays: minimum, maximum, peak-to-peak, peak, mean,
// variance, standard deviation, skewness, kurtosis, zero crossings, mean
// crossings, RMS, shape, impulse, clearance and crest factors, successive-
// difference sum, then the 5th, 25th, 75th and 95th percentiles, median and
// entropy; in the frequency domain peak, peak bin, sum and energy.
void extract_features(const float* signal, float* features, const std::uint8_t* slots,
                      float* sorted, std::uint8_t column, std::uint8_t columns, std::uint16_t n,
                      float* fft_work, float* spectrum, std::uint16_t fft_len, std::uint16_t rows,
                      std::uint8_t frequency);

}  // namespace vtl
