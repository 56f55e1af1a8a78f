#include "conditioning/band_peak.h"

#include <cmath>

#include "conditioning/engine_link.h"
#include "conditioning/work_arrays.h"
#include "features/magnitudes.h"

namespace vtl {

namespace {

// A frame length the transform accepts (a power of two) and the work arrays hold.
bool frame_usable(std::uint32_t n) { return n != 0 && (n & (n - 1u)) == 0 && frame_arrays_hold(n); }

// trunc(q) + add, clamped to 0 .. bins; q is not NaN. q is clamped in float
// first, which leaves the clamped result alone and keeps the conversion defined.
std::uint32_t clamped_bin(float q, std::int32_t add, std::uint32_t bins) {
  const float limit = static_cast<float>(bins);
  const float c = q < -2.0f ? -2.0f : (q > limit ? limit : q);
  const std::int32_t t = static_cast<std::int32_t>(c) + add;
  if (t < 0) return 0;
  return static_cast<std::uint32_t>(t) < bins ? static_cast<std::uint32_t>(t) : bins;
}

// One frame: input_value becomes the first frame sample (the rest of the frame
// keeps what frame_buffer holds), the frame's magnitudes land in spectrum_buffer
// and are added to the accumulator.
void frame_step(float input_value, float* accumulator, std::uint16_t n) {
  spectrum_buffer[0] = input_value;
  copy_value(spectrum_buffer, frame_buffer, 0, n, 3);
  for (std::uint32_t i = 0; i < n; ++i) spectrum_buffer[i] = 0.0f;
  centered_spectrum(frame_buffer, spectrum_buffer, n);
  if (n > 1) {
    for (std::uint32_t i = 0; i < n / 2u; ++i) accumulator[i] = accumulator[i] + spectrum_buffer[i];
  }
}

// Floors the accumulated bins, moves the band to the front and takes its peak.
void accumulated_peak(float* accumulator, std::uint32_t bins, bool band, std::uint32_t lo,
                      std::uint32_t hi, float* slot) {
  apply_bin_floor(accumulator, bins);
  if (!band) return;
  const std::uint32_t length = hi - lo;
  // Increasing order is safe for the overlap: each place is read before any
  // write reaches it.
  for (std::uint32_t i = 0; i < length; ++i) accumulator[i] = accumulator[lo + i];
  reduce_max(accumulator, static_cast<std::uint16_t>(length), slot, 0);
}

}  // namespace

bool band_bounds(std::uint32_t bins, float fs, float f_upper, float f_lower, std::uint32_t* lo,
                 std::uint32_t* hi) {
  const float b = static_cast<float>(bins) - 1.0f;  // -1.0 when there are no bins
  const float nyq = 0.5f * fs;
  const float q_lo = (f_lower * b) / nyq;
  const float q_hi = (f_upper * b) / nyq;
  if (std::isnan(q_lo) || std::isnan(q_hi)) {
    *lo = 0;
    *hi = 0;
    return false;
  }
  *lo = clamped_bin(q_lo, 0, bins);
  *hi = clamped_bin(q_hi, 1, bins);
  return *hi > *lo;
}

void apply_bin_floor(float* values, std::uint32_t n) {
  for (std::uint32_t i = 0; i < n; ++i) {
    if (!(values[i] >= 0.0f)) values[i] = static_cast<float>(i) * 0.002f;
  }
}

void band_peak_accumulated(const float* input, std::int32_t frame_count, float* accumulator,
                           float* destination, float fs, float f_upper, float f_lower) {
  const std::uint16_t n = frame_length;
  if (!frame_usable(n)) return;
  for (std::int32_t k = 0; k < frame_count; ++k) frame_step(input[k], accumulator, n);
  const std::uint32_t bins = n / 2u;
  std::uint32_t lo;
  std::uint32_t hi;
  const bool band = band_bounds(bins, fs, f_upper, f_lower, &lo, &hi);
  accumulated_peak(accumulator, bins, band, lo, hi, destination);
}

void band_peak_per_frame(const float* input, std::int32_t frame_count, float* accumulator,
                         float* destination, float fs, float f_upper, float f_lower) {
  const std::uint16_t n = frame_length;
  if (frame_count < 1 || !frame_usable(n)) return;
  const std::uint32_t bins = n / 2u;
  std::uint32_t lo;
  std::uint32_t hi;
  const bool band = band_bounds(bins, fs, f_upper, f_lower, &lo, &hi);
  for (std::int32_t k = 0; k < frame_count; ++k) {
    frame_step(input[k], accumulator, n);
    accumulated_peak(accumulator, bins, band, lo, hi, destination + k);
  }
}

void frame_band_peak(const float* input, float* destination, float fs, float f_upper,
                     float f_lower) {
  const std::uint16_t n = frame_length;
  float* const spectrum = peak_spectrum_array(n);
  if (!frame_usable(n) || spectrum == nullptr) return;
  copy_value(input, frame_buffer, 0, n, 3);
  // The transform needs an imaginary half of n zeros.
  for (std::uint32_t i = 0; i < n; ++i) spectrum[i] = 0.0f;
  centered_spectrum(frame_buffer, spectrum, n);
  if (n > 1 && !(spectrum[0] >= 0.0f)) spectrum[0] = 0.0f;
  std::uint32_t lo;
  std::uint32_t hi;
  // The band is not moved: its length is taken from the first magnitude on.
  if (!band_bounds(n / 2u, fs, f_upper, f_lower, &lo, &hi)) return;
  reduce_max(spectrum, static_cast<std::uint16_t>(hi - lo), destination, 0);
}

void vector_peak(const float* /*input*/, std::int32_t /*frame_count*/, float* spectrum,
                 float* destination) {
  apply_bin_floor(spectrum, vector_length);
  reduce_max(spectrum, vector_length, destination, 0);
}

void vector_peak_repeated(const float* /*input*/, std::int32_t count, float* spectrum,
                          float* destination) {
  if (count < 1) return;
  apply_bin_floor(spectrum, vector_length);
  if (vector_length == 0) return;
  reduce_max(spectrum, vector_length, destination, 0);
  // Flooring again changes nothing and the peak of the same spectrum is the
  // same, so the other slots take the first one's value without a pass each.
  for (std::int32_t k = 1; k < count; ++k) destination[k] = destination[0];
}

void spectrum_buffer_peak(const float* /*input*/, float* destination) {
  const std::uint16_t n = vector_length;
  if (!frame_arrays_hold(n)) return;
  apply_bin_floor(spectrum_buffer, n);
  reduce_max(spectrum_buffer, n, destination, 0);
}

}  // namespace vtl
