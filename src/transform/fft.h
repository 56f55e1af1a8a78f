#pragma once
// In-place radix-2 Fourier transform over separate real and imaginary arrays,
// scaled by 2/n, with its two size routines.

#include <cstdint>

namespace vtl {

// re, im: n floats each, im all zero on entry; n a power of two from 1 to 32768.
// For n = 0 or any other length that is not a power of two both arrays are left
// untouched (nothing is read or written).
void fft_in_place(float* re, float* im, std::uint16_t n);
// 0 for odd n and for 0, otherwise the position of the lowest set bit (log2 n for
// a power of two).
std::uint16_t log2_of_pow2(std::uint16_t n);
// The powers of two around n (both n when n is a power of two or 0); writes upper
// first, then lower. From 32769 to 65535 the upper bound does not fit: both are 0.
void power_of_two_bounds(std::uint16_t n, std::uint16_t* lower, std::uint16_t* upper);

}  // namespace vtl
