#pragma once
// The largest spectral magnitude inside a frequency band, from spectra that the
// routines build frame by frame or from a spectrum handed in ready-made.
//
// Bin floor rule: before a peak is taken, every bin i that is negative or NaN
// becomes i * 0.002.
//
// Band bounds over the N/2 bins of a frame of N = frame_length samples, with
// B = N/2 - 1 and nyq = 0.5 * fs: lo = trunc(f_lower * B / nyq) and
// hi = trunc(f_upper * B / nyq) + 1, so a cut-off at nyq maps to the last bin.
// Both bounds are then clamped to 0 .. N/2, so a band never reaches past the
// bins that exist. A band with hi <= lo is empty, and so is a band whose bounds
// are NaN (fs = 0, a NaN cut-off): an empty band writes nothing to the
// destination.
//
// A frame is built in place: one value is written to the first sample of
// frame_buffer (input[k] for frame k, input[0] for frame_band_peak) and the other
// N - 1 samples are what frame_buffer already holds, which after a transform is
// that transform's real part. Hand in a frame array of your own to control them.
//
// The frame routines need N to be a power of two that fits the work arrays (see
// work_arrays.h); for any other N they touch nothing at all, neither the work
// arrays, nor the accumulator, nor the destination. Frame counts are signed
// 32-bit and served in full (there is no 255-frame limit); destination slots of
// band_peak_per_frame and vector_peak_repeated are indexed as wide as the count.

#include <cstdint>

namespace vtl {

// Bounds of the band over `bins` spectrum bins as above; false for an empty band.
bool band_bounds(std::uint32_t bins, float fs, float f_upper, float f_lower, std::uint32_t* lo,
                 std::uint32_t* hi);
// The bin floor rule over values[0 .. n - 1].
void apply_bin_floor(float* values, std::uint32_t n);

// Sums the spectra of frame_count frames into accumulator (N/2 floats), then
// writes the band's peak into destination[0].
void band_peak_accumulated(const float* input, std::int32_t frame_count, float* accumulator,
                           float* destination, float fs, float f_upper, float f_lower);
// The same sum, with the band's peak taken after every frame into destination[k].
void band_peak_per_frame(const float* input, std::int32_t frame_count, float* accumulator,
                         float* destination, float fs, float f_upper, float f_lower);
// The peak of one frame's spectrum into destination[0]: the frame is input[0]
// followed by the rest of frame_buffer, transformed into the peak spectrum
// array (cleared first). The spectrum is not floored, and the band is not moved:
// the peak is taken over its length from the first magnitude on.
void frame_band_peak(const float* input, float* destination, float fs, float f_upper,
                     float f_lower);
// The peak of a ready-made spectrum of vector_length bins (floored in place).
// The first two arguments are not read: the device's routine shares its
// argument list with the frame routines, and callers pass them, so they stay.
void vector_peak(const float* input, std::int32_t frame_count, float* spectrum, float* destination);
// The same peak written to destination[0 .. count - 1]; the first argument is
// not read.
void vector_peak_repeated(const float* input, std::int32_t count, float* spectrum,
                          float* destination);
// The peak of the first vector_length values of the spectrum_buffer array; the
// first argument is not read. Nothing is written when vector_length exceeds that
// array, or when spectrum_buffer was not set through the setters.
void spectrum_buffer_peak(const float* input, float* destination);

}  // namespace vtl
