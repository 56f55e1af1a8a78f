#pragma once
// Samples, or their Euclidean norm, passed through the 65-tap FIR filter
// restricted to the band between f_lower and f_upper (sampling frequency fs).
// Each filtered value is the sum of a fixed sequence of single-sample filter
// calls (the filter plan) added into work[0], the first element of a caller's
// work array. The taps go to the fir_taps work array (conditioning/work_arrays.h).

#include <cstdint>

#include "transform/fir.h"

namespace vtl {

struct FilterCall {
  FilterType type;
  float first_cutoff;
  float second_cutoff;
};

// Fills `calls` (room for 4) with the plan for these cut-offs and returns how
// many calls it has; 0 means the band is the whole spectrum: no filter at all.
std::uint32_t plan_band_filter(float fs, float f_upper, float f_lower, FilterCall* calls);

// destination[0] = the Euclidean norm of the n values (0 for n <= 0).
void vector_norm_to_slot(const float* source, std::int32_t n, float* destination);
// destination[0] = the filtered norm of the n values; without a filter, the
// norm of the first three values (fewer when n is below 3).
void filtered_norm(const float* source, std::uint32_t n, float* work, float* destination, float fs,
                   float f_upper, float f_lower);
// destination[i] = the filtered value of each source[i]; without a filter,
// destination[0] = the norm of the first three values (fewer when n is below 3).
void filtered_samples(const float* source, std::uint32_t n, float* work, float* destination,
                      float fs, float f_upper, float f_lower);
// destination[0] = the filtered value of source[0] (source[0] itself without a filter).
void filtered_first_sample(const float* source, float* work, float* destination, float fs,
                           float f_upper, float f_lower);

}  // namespace vtl
