#pragma once
// In-place radix-2 Fourier transform over separate real and imaginary arrays,
// scaled by 2/n, with its two size routines.

#include <cstdint>

namespace vtl {

// re, im: n floats each, im all zero on entry; n a power of two from 1 to 32768.
void fft_in_place(float* re, float* im, std::uint16_t n);
// 0 for odd n, otherwise the position of the lowest set bit (log2 n for a power of two).
std::uint16_t log2_of_pow2(std::uint16_t n);
// The powers of two around n; writes upper first, then lower.
void power_of_two_bounds(std::uint16_t n, std::uint16_t* lower, std::uint16_t* upper);

}  // namespace vtl
