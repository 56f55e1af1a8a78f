#include "conditioning/band_filter.h"

#include <cmath>

#include "conditioning/work_arrays.h"
#include "distance/vector_primitives.h"
#include "engine/staging.h"

namespace vtl {

namespace {

constexpr std::uint32_t kPlanCalls = 4;

// value_scratch = the Euclidean norm of the n values, never negative or NaN.
void norm_into_scratch(const float* source, std::uint32_t n) {
  value_scratch = 0.0f;
  for (std::uint32_t i = 0; i < n; ++i) value_scratch = value_scratch + source[i] * source[i];
  sqrt_or_zero(&value_scratch, value_scratch);
  if (!(value_scratch >= 0.0f)) value_scratch = 0.0f;
}

// work[0] = the sum of the plan's filter calls on one sample.
float run_plan(const FilterCall* calls, std::uint32_t count, const float* sample, float* work,
               float fs) {
  work[0] = 0.0f;
  for (std::uint32_t c = 0; c < count; ++c) {
    fir_filter(sample, work, fir_taps, 1, calls[c].type, fs, calls[c].first_cutoff,
               calls[c].second_cutoff);
  }
  return work[0];
}

// Without a filter, the norm routines write the plain norm of the first three
// values (of fewer when there are fewer).
void write_unfiltered_norm(const float* source, std::uint32_t n, float* destination) {
  norm_into_scratch(source, n < 3u ? n : 3u);
  destination[0] = value_scratch;
}

}  // namespace

std::uint32_t plan_band_filter(float fs, float f_upper, float f_lower, FilterCall* calls) {
  const float nyquist = 0.5f * fs;
  if (f_upper >= nyquist && f_lower <= 0.0f) return 0;
  FilterType type = FILTER_BANDPASS;
  if (f_upper < nyquist && f_lower == 0.0f) {
    type = FILTER_LOWPASS;
  } else if (f_upper == nyquist && f_lower > 0.0f) {
    type = FILTER_HIGHPASS;
  }
  const float hi = std::fmax(f_lower, 0.0f);
  const float lo = std::fmin(f_upper, nyquist);
  std::uint32_t count = 0;
  if (type == FILTER_LOWPASS) calls[count++] = {type, f_upper, 0.0f};
  if (type != FILTER_BANDPASS) calls[count++] = {type, f_lower, 0.0f};
  calls[count++] = {type, hi, lo};
  calls[count++] = {type, hi, lo};
  return count;
}

void vector_norm_to_slot(const float* source, std::int32_t n, float* destination) {
  norm_into_scratch(source, n > 0 ? static_cast<std::uint32_t>(n) : 0u);
  copy_value(&value_scratch, destination, 0, 1, 0);
}

void filtered_norm(const float* source, std::uint32_t n, float* work, float* destination, float fs,
                   float f_upper, float f_lower) {
  FilterCall calls[kPlanCalls];
  const std::uint32_t count = plan_band_filter(fs, f_upper, f_lower, calls);
  if (count == 0) return write_unfiltered_norm(source, n, destination);
  norm_into_scratch(source, n);
  destination[0] = run_plan(calls, count, &value_scratch, work, fs);
}

void filtered_samples(const float* source, std::uint32_t n, float* work, float* destination,
                      float fs, float f_upper, float f_lower) {
  FilterCall calls[kPlanCalls];
  const std::uint32_t count = plan_band_filter(fs, f_upper, f_lower, calls);
  if (count == 0) return write_unfiltered_norm(source, n, destination);
  for (std::uint32_t i = 0; i < n; ++i) {
    value_scratch = source[i];
    destination[i] = run_plan(calls, count, &value_scratch, work, fs);
  }
}

void filtered_first_sample(const float* source, float* work, float* destination, float fs,
                           float f_upper, float f_lower) {
  FilterCall calls[kPlanCalls];
  const std::uint32_t count = plan_band_filter(fs, f_upper, f_lower, calls);
  destination[0] = count == 0 ? source[0] : run_plan(calls, count, source, work, fs);
}

}  // namespace vtl
