#pragma once
// The largest spectral magnitude inside a frequency band. Before the maximum is
// taken, each bin that is negative or NaN becomes the small ramp value
// i x 0.002 (the bin floor rule). Frames have frame_length samples (N) and
// spectra N/2 bins; ready-made spectra have vector_length bins. The work arrays
// are those of conditioning/work_arrays.h: a routine writes nothing when N (or
// vector_length) exceeds their capacity.
//
// Band bounds for fs and the cut-offs f_lower <= f_upper <= fs / 2:
// B = N/2 - 1, lo = trunc(f_lower B / (fs / 2)), hi = trunc(f_upper B / (fs / 2)) + 1.
// Bounds outside the spectrum (other cut-offs, NaN) are clamped to 0 <= lo <= hi <= N/2;
// an empty band writes nothing.

#include <cstdint>

namespace vtl {

// Replaces each negative or NaN value of the first `bins` values by i x 0.002.
void apply_bin_floor(float* spectrum, std::uint32_t bins);

struct Band {
  std::uint32_t lo;
  std::uint32_t length;
};
// The band of a spectrum of bins = N/2 values.
Band band_bounds(std::uint32_t bins, float fs, float f_upper, float f_lower);

// Accumulates the spectra of `frames` frames (frame k starts from input[k]) into
// accumulator (N/2 floats), then writes the band's peak to destination[0].
void band_peak_accumulated(const float* input, std::int32_t frames, float* accumulator,
                           float* destination, float fs, float f_upper, float f_lower);
// The same, writing the peak of the accumulation so far after each frame k to
// destination[k].
void band_peak_per_frame(const float* input, std::int32_t frames, float* accumulator,
                         float* destination, float fs, float f_upper, float f_lower);
// The band peak of one frame's spectrum, read from its first bin on.
void frame_band_peak(const float* input, float* destination, float fs, float f_upper,
                     float f_lower);
// The peak of a ready-made spectrum of vector_length bins (floored in place).
void vector_peak(const float* unused_input, std::int32_t unused_count, float* spectrum,
                 float* destination);
// The same peak written to destination[0 .. count - 1].
void vector_peak_repeated(const float* unused_input, std::int32_t count, float* spectrum,
                          float* destination);
// The peak of the first vector_length values of spectrum_buffer.
void spectrum_buffer_peak(const float* unused_input, float* destination);

}  // namespace vtl
