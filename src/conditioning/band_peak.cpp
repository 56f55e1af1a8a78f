#include "conditioning/band_peak.h"

#include <cstdint>

#include "conditioning/work_arrays.h"
#include "engine/knowledge_buffer.h"
#include "engine/model.h"
#include "engine/staging.h"
#include "features/magnitudes.h"

namespace vtl {

namespace {

std::uint32_t clamp_bin(std::int32_t bin, std::uint32_t bins) {
  if (bin < 0) return 0;
  return static_cast<std::uint32_t>(bin) > bins ? bins : static_cast<std::uint32_t>(bin);
}

// The frame step writes the first element of spectrum_buffer even for N = 0.
bool frame_arrays_fit() { return frame_arrays_capacity > 0 && frame_length <= frame_arrays_capacity; }

// One frame of the accumulating routines: the frame's first sample becomes
// input[k] (the others keep what they held), its magnitudes land in
// spectrum_buffer and are added to the accumulator.
void accumulate_frame(float sample, float* accumulator) {
  const std::uint16_t n = frame_length;
  spectrum_buffer[0] = sample;
  copy_value(spectrum_buffer, frame_buffer, 0, n, 3);
  for (std::uint32_t i = 0; i < n; ++i) spectrum_buffer[i] = 0.0f;
  centered_spectrum(frame_buffer, spectrum_buffer, n);
  if (n > 1) {
    for (std::uint32_t i = 0; i < n / 2u; ++i) accumulator[i] = accumulator[i] + spectrum_buffer[i];
  }
}

// Floors the accumulator, moves the band to its front and writes the peak.
void band_peak_of_accumulator(float* accumulator, Band band, float* destination) {
  apply_bin_floor(accumulator, frame_length / 2u);
  for (std::uint32_t i = 0; i < band.length; ++i) accumulator[i] = accumulator[band.lo + i];
  reduce_max(accumulator, static_cast<std::uint16_t>(band.length), destination, 0);
}

}  // namespace

void apply_bin_floor(float* spectrum, std::uint32_t bins) {
  for (std::uint32_t i = 0; i < bins; ++i) {
    if (!(spectrum[i] >= 0.0f)) spectrum[i] = static_cast<float>(i) * 0.002f;
  }
}

Band band_bounds(std::uint32_t bins, float fs, float f_upper, float f_lower) {
  const float last = static_cast<float>(static_cast<std::int32_t>(bins) - 1);
  const float half_fs = 0.5f * fs;
  const std::uint32_t lo = clamp_bin(truncate_to_int32((f_lower * last) / half_fs), bins);
  const std::int32_t top = truncate_to_int32((f_upper * last) / half_fs);
  const std::uint32_t hi = clamp_bin(top == INT32_MAX ? top : top + 1, bins);
  return {lo, hi > lo ? hi - lo : 0u};
}

void band_peak_accumulated(const float* input, std::int32_t frames, float* accumulator,
                           float* destination, float fs, float f_upper, float f_lower) {
  if (!frame_arrays_fit()) return;
  for (std::int32_t k = 0; k < frames; ++k) accumulate_frame(input[k], accumulator);
  band_peak_of_accumulator(accumulator, band_bounds(frame_length / 2u, fs, f_upper, f_lower),
                           destination);
}

void band_peak_per_frame(const float* input, std::int32_t frames, float* accumulator,
                         float* destination, float fs, float f_upper, float f_lower) {
  if (frames < 1 || !frame_arrays_fit()) return;
  const Band band = band_bounds(frame_length / 2u, fs, f_upper, f_lower);
  // The frame counter is as wide as the count, so every frame is served.
  for (std::int32_t k = 0; k < frames; ++k) {
    accumulate_frame(input[k], accumulator);
    band_peak_of_accumulator(accumulator, band, destination + k);
  }
}

void frame_band_peak(const float* input, float* destination, float fs, float f_upper,
                     float f_lower) {
  const std::uint16_t n = frame_length;
  if (n > frame_arrays_capacity || n > band_spectrum_capacity) return;
  copy_value(input, frame_buffer, 0, n, 3);
  for (std::uint32_t i = 0; i < n; ++i) band_spectrum[i] = 0.0f;
  centered_spectrum(frame_buffer, band_spectrum, n);
  if (n > 1 && !(band_spectrum[0] >= 0.0f)) band_spectrum[0] = 0.0f;
  const Band band = band_bounds(n / 2u, fs, f_upper, f_lower);
  reduce_max(band_spectrum, static_cast<std::uint16_t>(band.length), destination, 0);
}

void vector_peak(const float* /*unused_input*/, std::int32_t /*unused_count*/, float* spectrum,
                 float* destination) {
  apply_bin_floor(spectrum, vector_length);
  reduce_max(spectrum, vector_length, destination, 0);
}

void vector_peak_repeated(const float* /*unused_input*/, std::int32_t count, float* spectrum,
                          float* destination) {
  for (std::int32_t k = 0; k < count; ++k) {
    apply_bin_floor(spectrum, vector_length);
    reduce_max(spectrum, vector_length, destination + k, 0);
  }
}

void spectrum_buffer_peak(const float* /*unused_input*/, float* destination) {
  if (vector_length > frame_arrays_capacity) return;
  apply_bin_floor(spectrum_buffer, vector_length);
  reduce_max(spectrum_buffer, vector_length, destination, 0);
}

}  // namespace vtl
