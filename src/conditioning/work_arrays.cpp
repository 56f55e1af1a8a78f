#include "conditioning/work_arrays.h"

#include "conditioning/engine_link.h"

namespace vtl {

namespace {

float library_frame[kFrameArrayCapacity];
float library_spectrum[kFrameArrayCapacity];
float library_peak_spectrum[kFrameArrayCapacity];
float library_taps[kFirTaps];

struct WorkArray {
  float* array;
  std::uint32_t capacity;
};

// What the setters last installed, with its capacity. Device code assigns the
// public pointers directly and promises arrays large enough, as on the device;
// such an array is trusted. Only an array that came through a setter is checked
// against the capacity handed in with it.
WorkArray installed_frame{library_frame, kFrameArrayCapacity};
WorkArray installed_spectrum{library_spectrum, kFrameArrayCapacity};
WorkArray installed_peak_spectrum{library_peak_spectrum, kFrameArrayCapacity};
WorkArray installed_taps{library_taps, kFirTaps};

// A null array gives the library's own back.
WorkArray chosen(float* array, std::uint32_t capacity, float* library,
                 std::uint32_t library_capacity) {
  return array != nullptr ? WorkArray{array, capacity} : WorkArray{library, library_capacity};
}

}  // namespace

float* frame_buffer = library_frame;
float* spectrum_buffer = library_spectrum;
float* fir_taps = library_taps;

void set_frame_length(std::uint16_t n) { frame_length = n; }
void set_vector_length(std::uint16_t n) { vector_length = n; }

void set_frame_arrays(float* frame, float* spectrum, std::uint32_t capacity) {
  if (frame == nullptr || spectrum == nullptr) frame = spectrum = nullptr;
  installed_frame = chosen(frame, capacity, library_frame, kFrameArrayCapacity);
  installed_spectrum = chosen(spectrum, capacity, library_spectrum, kFrameArrayCapacity);
  frame_buffer = installed_frame.array;
  spectrum_buffer = installed_spectrum.array;
}

void set_peak_spectrum_array(float* spectrum, std::uint32_t capacity) {
  installed_peak_spectrum = chosen(spectrum, capacity, library_peak_spectrum, kFrameArrayCapacity);
}

void set_fir_taps(float* taps, std::uint32_t capacity) {
  installed_taps = chosen(taps, capacity, library_taps, kFirTaps);
  fir_taps = installed_taps.array;
}

void use_library_work_arrays() {
  set_frame_arrays(nullptr, nullptr, 0);
  set_peak_spectrum_array(nullptr, 0);
  set_fir_taps(nullptr, 0);
}

namespace {

// A null array holds nothing; an assigned one what its owner promised.
bool holds(const float* array, const WorkArray& installed, std::uint32_t n) {
  if (array == nullptr) return false;
  return array != installed.array || n <= installed.capacity;
}

}  // namespace

bool frame_arrays_hold(std::uint32_t n) {
  return holds(frame_buffer, installed_frame, n) && holds(spectrum_buffer, installed_spectrum, n);
}

float* peak_spectrum_array(std::uint32_t n) {
  return n <= installed_peak_spectrum.capacity ? installed_peak_spectrum.array : nullptr;
}

bool fir_taps_ready() { return holds(fir_taps, installed_taps, kFirTaps); }

}  // namespace vtl
