#pragma once
// Statistics of one buffer of samples. Every sum starts from the term of x[0]
// and adds the later terms one at a time in index order, in single precision;
// the count enters the formulas as (float)n. Nothing is allocated or kept.
//
// Empty buffers (n == 0) are read nowhere: the sums (sum, sum of squares,
// successive-difference sum) are 0, every other float feature is NaN, and the
// crossing counts and the index of the maximum are 0.

#include <cstdint>

namespace vtl {

float feature_sum(const float* x, std::uint16_t n);
float feature_sum_squares(const float* x, std::uint16_t n);
float feature_mean(const float* x, std::uint16_t n);
// A value replaces the running minimum unless it is greater, so a NaN takes the
// place over and the next number takes it back.
float feature_min(const float* x, std::uint16_t n);
// A value replaces the running maximum unless the running maximum is greater.
float feature_max(const float* x, std::uint16_t n);
float feature_peak_to_peak(const float* x, std::uint16_t n);
// The larger absolute value of the two extremes.
float feature_peak(const float* x, std::uint16_t n);
// Population variance (divisor n), the mean taken in a pass of its own.
float feature_variance(const float* x, std::uint16_t n);
float feature_std(const float* x, std::uint16_t n);
float feature_rms(const float* x, std::uint16_t n);
float feature_crest_factor(const float* x, std::uint16_t n);
float feature_skewness(const float* x, std::uint16_t n);
// Excess kurtosis (3 subtracted).
float feature_kurtosis(const float* x, std::uint16_t n);
float feature_clearance_factor(const float* x, std::uint16_t n);
float feature_impulse_factor(const float* x, std::uint16_t n);
float feature_shape_factor(const float* x, std::uint16_t n);
// Sum of |x[i] - x[i-1]|; 0 when there is no pair (n < 2).
float feature_abs_diff_sum(const float* x, std::uint16_t n);
// Neighbouring pairs whose product is strictly negative.
std::uint16_t feature_zero_crossings(const float* x, std::uint16_t n);
// The same test on the deviations from the mean.
std::uint16_t feature_mean_crossings(const float* x, std::uint16_t n);
// First index of the largest value; a NaN never replaces a number.
std::uint16_t feature_argmax(const float* x, std::uint16_t n);
// Entropy in nats of the runs of equal neighbouring values (on a sorted buffer,
// of the distribution of its values).
float feature_entropy(const float* x, std::uint16_t n);
// On an ascending buffer: linear interpolation between order statistics at
// p percent (0 gives x[0]; 100, or any larger p, gives x[n-1]).
float feature_percentile(const float* x, std::uint16_t n, std::uint8_t p);
float feature_median(const float* x, std::uint16_t n);

}  // namespace vtl
