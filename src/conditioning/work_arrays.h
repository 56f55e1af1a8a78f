#pragma once
// The work arrays of the spectrum and filter routines. The engine keeps their
// addresses in globals; by default they point at static arrays sized for the
// largest frame (32768 samples), so nothing is allocated and every routine
// works out of the box. A caller may hand in arrays of its own, with their
// capacity in floats; a routine whose frame length (or vector length) exceeds
// the capacity of the arrays in use writes nothing.
//
//   frame_buffer     N floats: the time-domain frame given to the spectrum
//   spectrum_buffer  N floats: receives the frame's magnitudes
//   band_spectrum    N floats: frame_band_peak's spectrum (the transform uses
//                    all N as its imaginary part, and it is cleared first)
//   fir_taps         65 floats: overwritten by every filter call

#include <cstdint>

namespace vtl {

inline constexpr std::uint32_t kMaxFrameLength = 32768;

extern float* frame_buffer;
extern float* spectrum_buffer;
extern float* band_spectrum;
extern float* fir_taps;
extern std::uint32_t frame_arrays_capacity;  // floats in frame_buffer and spectrum_buffer
extern std::uint32_t band_spectrum_capacity;

// nullptr restores the static arrays.
void set_frame_arrays(float* frame, float* spectrum, std::uint32_t capacity);
void set_band_spectrum_array(float* spectrum, std::uint32_t capacity);
void set_fir_taps_array(float* taps);  // 65 floats

// frame_length (N) and vector_length are engine globals carried in the state file.
void set_frame_length(std::uint16_t samples);
void set_vector_length(std::uint16_t bins);

}  // namespace vtl
