#pragma once
// Sinc-kernel FIR filters: a 65-tap filter applied to a buffer with its mean
// taken out, the kernel design, the convolution under it and the sinc.

#include <cstdint>

#include "base/constants.h"

namespace vtl {

// Every 8-bit value is a valid type: 3 to 255 use the three-term kernel.
enum FilterType : std::uint8_t {
  FILTER_LOWPASS = 0,
  FILTER_HIGHPASS = 1,
  FILTER_BANDPASS = 2,
};

// Adds the filtered n samples of src into dst; taps (65 floats) is overwritten
// with the kernel. For n = 0 src is not read and dst is left alone (taps still
// receive the kernel).
void fir_filter(const float* src, float* dst, float* taps, std::uint16_t n, FilterType type,
                float fs, float f_low, float f_high);
void fir_design(float* taps, std::uint16_t ntaps, FilterType type, float fs, float f_low,
                float f_high);
// Full convolution when out_len == kernel_len + signal_len - 1, else the part
// centred on the kernel's middle tap; accumulates kernel * (sample - offset) into out.
// Only out[0 .. out_len - 1] is written, and only kernel[0 .. kernel_len - 1] and
// signal[0 .. signal_len - 1] are read, whatever the lengths: outputs that no
// sample reaches (an empty kernel or signal, out_len past the full length) keep
// their values. out may share memory with kernel or signal: the result is then
// that of adding the products one at a time, in signal order, in place.
void convolve(const float* kernel, const float* signal, float* out, std::uint16_t kernel_len,
              std::uint16_t signal_len, std::uint16_t out_len, float offset);
float sinc(float x);

}  // namespace vtl
