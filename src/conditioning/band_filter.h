#pragma once
// Samples, or their Euclidean norm, passed through the 65-tap FIR filter
// restricted to a band between a lower and an upper cut-off.
//
// Every routine follows one filter plan made from fs, f_upper and f_lower
// (nyq = 0.5 * fs):
// - pass-through when f_upper >= nyq and f_lower <= 0: no filter at all;
// - otherwise the type is low-pass when f_upper < nyq and f_lower == 0,
//   high-pass when f_upper == nyq and f_lower > 0, band-pass in every other case
//   (a NaN cut-off fails every comparison, so it ends up band-pass);
// - the calls add into work[0]: low-pass alone first with (f_upper, 0), low- and
//   high-pass with (f_lower, 0), then every type twice with
//   (fmaxf(f_lower, 0), fminf(f_upper, nyq)).
//
// The routines that filter use the tap array of fir_taps; when it is not ready
// (see work_arrays.h) they write nothing. The pass-through results need no taps
// and are always written. work must hold at least one float; only work[0] is used.

#include <cstdint>

#include "transform/fir.h"

namespace vtl {

struct FilterCall {
  FilterType type;
  float first_cutoff;   // handed to fir_filter as f_low
  float second_cutoff;  // handed to fir_filter as f_high
};

inline constexpr std::uint8_t kMaxFilterCalls = 4;

// Fills calls[0 .. count - 1] (room for kMaxFilterCalls) and returns the count;
// 0 means pass-through.
std::uint8_t plan_band_filter(float fs, float f_upper, float f_lower, FilterCall* calls);

// destination[0] = the norm of the n values; 0 when n <= 0.
void vector_norm_to_slot(const float* source, std::int32_t n, float* destination);
// Pass-through: the norm of exactly the first three values, whatever n is
// (the source must hold three). Otherwise the filtered norm of the n values.
void filtered_norm(const float* source, std::uint32_t n, float* work, float* destination, float fs,
                   float f_upper, float f_lower);
// Pass-through: destination[0] = the norm as for filtered_norm. Otherwise
// destination[i] = the filtered value of source[i] alone, for every i < n (the
// index is as wide as n).
void filtered_samples(const float* source, std::uint32_t n, float* work, float* destination,
                      float fs, float f_upper, float f_lower);
// Pass-through: destination[0] = source[0]. Otherwise the filtered source[0].
void filtered_first_sample(const float* source, float* work, float* destination, float fs,
                           float f_upper, float f_lower);

}  // namespace vtl
