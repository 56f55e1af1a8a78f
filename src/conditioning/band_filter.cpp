#include "conditioning/band_filter.h"

#include <cmath>

#include "base/min_max.h"
#include "base/vector_primitives.h"
#include "conditioning/engine_link.h"
#include "conditioning/work_arrays.h"

namespace vtl {

namespace {

// value_scratch = the Euclidean norm of v[0 .. n - 1], summed from 0.0 in index
// order; a sum that is negative or NaN gives 0.
void norm_into_scratch(const float* v, std::uint32_t n) {
  value_scratch = 0.0f;
  for (std::uint32_t i = 0; i < n; ++i) value_scratch = value_scratch + v[i] * v[i];
  sqrt_or_zero(&value_scratch, value_scratch);
  if (!(value_scratch >= 0.0f)) value_scratch = 0.0f;
}

// Runs the planned calls on one input value; the filtered value is work[0].
void run_plan(const float* input, float* work, float fs, const FilterCall* calls,
              std::uint8_t count) {
  work[0] = 0.0f;
  for (std::uint8_t c = 0; c < count; ++c) {
    fir_filter(input, work, fir_taps, 1, calls[c].type, fs, calls[c].first_cutoff,
               calls[c].second_cutoff);
  }
}

// The calls of the plan for the two norm routines, or 0 when there is nothing
// left to do: after writing the pass-through result, or when the taps are not
// ready. Without a filter the device writes the norm of exactly the first three
// values, whatever n is, so the caller's source must hold three.
std::uint8_t plan_or_pass_norm(const float* source, float* destination, float fs, float f_upper,
                               float f_lower, FilterCall* calls) {
  const std::uint8_t count = plan_band_filter(fs, f_upper, f_lower, calls);
  if (count == 0) {
    norm_into_scratch(source, 3);
    destination[0] = value_scratch;
    return 0;
  }
  return fir_taps_ready() ? count : 0;
}

}  // namespace

std::uint8_t plan_band_filter(float fs, float f_upper, float f_lower, FilterCall* calls) {
  const float nyq = 0.5f * fs;
  if (f_upper >= nyq && f_lower <= 0.0f) return 0;

  FilterType type = FILTER_BANDPASS;
  if (f_upper < nyq && f_lower == 0.0f) {
    type = FILTER_LOWPASS;
  } else if (f_upper == nyq && f_lower > 0.0f) {
    type = FILTER_HIGHPASS;
  }
  const float hi = float_max(f_lower, 0.0f);
  const float lo = float_min(f_upper, nyq);

  std::uint8_t count = 0;
  if (type == FILTER_LOWPASS) calls[count++] = {type, f_upper, 0.0f};
  if (type == FILTER_LOWPASS || type == FILTER_HIGHPASS) calls[count++] = {type, f_lower, 0.0f};
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
  FilterCall calls[kMaxFilterCalls];
  const std::uint8_t count = plan_or_pass_norm(source, destination, fs, f_upper, f_lower, calls);
  if (count == 0) return;
  norm_into_scratch(source, n);
  run_plan(&value_scratch, work, fs, calls, count);
  destination[0] = work[0];
}

void filtered_samples(const float* source, std::uint32_t n, float* work, float* destination,
                      float fs, float f_upper, float f_lower) {
  FilterCall calls[kMaxFilterCalls];
  const std::uint8_t count = plan_or_pass_norm(source, destination, fs, f_upper, f_lower, calls);
  if (count == 0) return;
  for (std::uint32_t i = 0; i < n; ++i) {
    value_scratch = source[i];
    run_plan(&value_scratch, work, fs, calls, count);
    destination[i] = work[0];
  }
}

void filtered_first_sample(const float* source, float* work, float* destination, float fs,
                           float f_upper, float f_lower) {
  FilterCall calls[kMaxFilterCalls];
  const std::uint8_t count = plan_band_filter(fs, f_upper, f_lower, calls);
  if (count == 0) {
    destination[0] = source[0];
    return;
  }
  if (!fir_taps_ready()) return;
  run_plan(source, work, fs, calls, count);
  destination[0] = work[0];
}

}  // namespace vtl
