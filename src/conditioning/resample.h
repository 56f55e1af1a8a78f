#pragma once
// Resampling of a raw sample buffer into a given number of outputs, and the
// in-place offset removals that bring buffers into the engine's shape.

#include <cstdint>

namespace vtl {

// Resampling rules used when n_out < n_in (n_out >= n_in copies the n_in inputs).
enum ResampleMode : std::uint16_t {
  RESAMPLE_BIN_MAX = 0,         // each output the largest input of its bin
  RESAMPLE_BIN_MEAN = 1,        // each output the running mean of its bin
  RESAMPLE_MOVING_AVERAGE = 2,  // output o the mean of inputs o .. o + n_in - n_out
  RESAMPLE_KEEP_FIRST = 3,
  RESAMPLE_KEEP_LAST = 4,
  // Any other mode writes nothing in the bins; only the fallbacks apply.
};

// Writes only destination[offset .. offset + n_out - 1] when shrinking, and
// destination[offset .. offset + n_in - 1] when copying; reads only
// src[0 .. n_in - 1]. Indices do not wrap at 16 bits: offset + n_out may pass
// 65535. The moving average starts each output from the value its
// slot already holds (times 0), so a NaN or infinite old value yields NaN.
// src and destination must not overlap.
void resample_buffer(const float* src, std::uint16_t n_in, float* destination, std::uint16_t offset,
                     std::uint16_t n_out, std::uint16_t mode);

// Subtracts the mean of the first (n & 0xFFFF) values from each of them; a zero
// count reads and writes nothing.
void remove_mean(float* buffer, std::uint32_t n);

// The buffer holds block_count blocks of block_length values; each block loses
// its own mean (summed in index order from 0.0, divided by the length). Every
// 16-bit block count is served; a zero length or count changes nothing.
void remove_block_means(float* buffer, std::uint16_t block_length, std::uint16_t block_count);

// buffer[i] = abs_float(buffer[i]) for i < n.
void abs_in_place(float* buffer, std::uint16_t n);

// trunc(float(p * a) * 0.01f): the product wraps at 32 bits. The flag selects
// nothing: every flag gives the flag-0 result.
std::int32_t percent_of(std::int32_t a, std::uint8_t flag, std::uint8_t p);

}  // namespace vtl
