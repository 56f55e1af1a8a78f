#pragma once
// Work arrays of the signal-conditioning routines, and the two lengths they read.
//
// frame_buffer and spectrum_buffer hold the addresses of two arrays of N floats
// each (N = frame_length): the time-domain frame handed to the spectrum and the
// array that receives its magnitudes. fir_taps holds the address of the 65-float
// kernel that every filter call overwrites. frame_band_peak transforms into a
// third array of its own, the peak spectrum array, which also needs N floats: it
// is the imaginary half of the transform, so all N places are written, even
// though only the first N/2 hold magnitudes afterwards.
//
// Nothing is allocated. By default the three pointers (and the peak spectrum
// array) refer to static arrays of the library sized for the largest frame:
// 32768 floats each for the frame, spectrum and peak spectrum arrays, and 65 for
// the taps. A caller may hand in arrays of its own, with their capacity in
// floats, through the setters below (a null pointer gives the library's own
// arrays back); a routine then refuses, writing nothing at all, when those
// arrays are too small for the current N (or vector_length, or for the 65
// taps). Device code may also simply assign the pointers
// (`vtl::frame_buffer = my_frame;`), promising N floats (65 taps) as on the
// device: an assigned array is trusted, a null one refused.

#include <cstdint>

#include "base/constants.h"

namespace vtl {

inline constexpr std::uint32_t kFrameArrayCapacity = 32768;

extern float* frame_buffer;
extern float* spectrum_buffer;
extern float* fir_taps;

// frame_length and vector_length are engine globals; these set them.
void set_frame_length(std::uint16_t n);
void set_vector_length(std::uint16_t n);

// frame and spectrum each hold `capacity` floats. Either pointer null: both
// return to the library's own arrays.
void set_frame_arrays(float* frame, float* spectrum, std::uint32_t capacity);
// The array into which frame_band_peak transforms; `capacity` floats.
void set_peak_spectrum_array(float* spectrum, std::uint32_t capacity);
// The tap array; filtering needs a capacity of at least 65.
void set_fir_taps(float* taps, std::uint32_t capacity);
// All four arrays back to the library's own.
void use_library_work_arrays();

// Checks made by the routines before they touch anything.
// True when frame_buffer and spectrum_buffer are set and hold n floats each
// (known only for arrays handed in through a setter).
bool frame_arrays_hold(std::uint32_t n);
// The peak spectrum array when it holds n floats, else null.
float* peak_spectrum_array(std::uint32_t n);
// True when fir_taps is set and holds 65 floats (as far as known).
bool fir_taps_ready();

}  // namespace vtl
