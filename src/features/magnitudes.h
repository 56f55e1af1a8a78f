#pragma once
// Single-sided amplitude spectra of n/2 values made with fft_in_place: value k
// is the amplitude of DFT bin k + 1.

#include <cstdint>

namespace vtl {

// x (n floats) loses its mean and is transformed in place; im must hold n zeros
// and receives the spectrum in im[0 .. n/2 - 1] (negative or NaN values become 0).
void centered_spectrum(float* x, float* im, std::uint16_t n);
// x is left unchanged; work (n floats) is transformed; amplitudes (n floats) receives
// the spectrum in amplitudes[0 .. n/2 - 1].
void amplitude_spectrum(const float* x, float* work, float* amplitudes, std::uint16_t n);
// data: n samples of d channels, sample by sample; mag receives the per-sample
// norms and is transformed; amplitudes receives the spectrum of the norms.
void norm_spectrum(const float* data, std::uint8_t d, float* mag, float* amplitudes,
                   std::uint16_t n);

}  // namespace vtl
