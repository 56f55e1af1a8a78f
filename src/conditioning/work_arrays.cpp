#include "conditioning/work_arrays.h"

#include "engine/model.h"

namespace vtl {

namespace {

float library_frame[kFrameArrayCapacity];
float library_spectrum[kFrameArrayCapacity];
float library_peak_spectrum[kFrameArrayCapacity];
float library_taps[kFilterTapCount];

// What the setters last installed. The public pointers are compared with these,
// so a pointer changed by hand is never trusted with a capacity it lacks.
float* set_frame = library_frame;
float* set_spectrum = library_spectrum;
std::uint32_t frame_capacity = kFrameArrayCapacity;
float* peak_spectrum = library_peak_spectrum;
std::uint32_t peak_capacity = kFrameArrayCapacity;
float* set_taps = library_taps;
std::uint32_t taps_capacity = kFilterTapCount;

}  // namespace

float* frame_buffer = library_frame;
float* spectrum_buffer = library_spectrum;
float* fir_taps = library_taps;

void set_frame_length(std::uint16_t n) { frame_length = n; }
void set_vector_length(std::uint16_t n) { vector_length = n; }

void set_frame_arrays(float* frame, float* spectrum, std::uint32_t capacity) {
  if (frame == nullptr || spectrum == nullptr) {
    frame = library_frame;
    spectrum = library_spectrum;
    capacity = kFrameArrayCapacity;
  }
  set_frame = frame;
  set_spectrum = spectrum;
  frame_capacity = capacity;
  frame_buffer = frame;
  spectrum_buffer = spectrum;
}

void set_peak_spectrum_array(float* spectrum, std::uint32_t capacity) {
  if (spectrum == nullptr) {
    spectrum = library_peak_spectrum;
    capacity = kFrameArrayCapacity;
  }
  peak_spectrum = spectrum;
  peak_capacity = capacity;
}

void set_fir_taps(float* taps, std::uint32_t capacity) {
  if (taps == nullptr) {
    taps = library_taps;
    capacity = kFilterTapCount;
  }
  set_taps = taps;
  taps_capacity = capacity;
  fir_taps = taps;
}

void use_library_work_arrays() {
  set_frame_arrays(nullptr, nullptr, 0);
  set_peak_spectrum_array(nullptr, 0);
  set_fir_taps(nullptr, 0);
}

bool frame_arrays_hold(std::uint32_t n) {
  return frame_buffer == set_frame && spectrum_buffer == set_spectrum && n <= frame_capacity;
}

float* peak_spectrum_array(std::uint32_t n) { return n <= peak_capacity ? peak_spectrum : nullptr; }

bool fir_taps_ready() { return fir_taps == set_taps && taps_capacity >= kFilterTapCount; }

}  // namespace vtl
