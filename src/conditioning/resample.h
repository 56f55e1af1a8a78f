#pragma once
// Bringing a raw buffer into the engine's shape: resampling to fewer samples,
// offset removal, absolute values and percentages.

#include <cstdint>

namespace vtl {

// Resampling rules when n_out < n_in (otherwise the n_in samples are copied).
enum ResampleMode : std::uint16_t {
  RESAMPLE_BIN_MAX = 0,         // each output is the largest input of its bin
  RESAMPLE_BIN_MEAN = 1,        // each output is the running mean of its bin
  RESAMPLE_MOVING_AVERAGE = 2,  // output o: mean of the n_in - n_out + 1 inputs from o
  RESAMPLE_KEEP_FIRST = 3,
  RESAMPLE_KEEP_LAST = 4,
  // any other mode: only the fallbacks of the bin rules write
};

// Writes n_out values (or the n_in copied ones) at destination[offset] onward;
// source and destination must not overlap.
void resample_buffer(const float* source, std::uint16_t n_in, float* destination,
                     std::uint16_t offset, std::uint16_t n_out, std::uint16_t mode);
// Subtracts the mean of the first (n mod 65536) values from each of them.
void remove_mean(float* buffer, std::uint32_t n);
// The buffer holds `blocks` blocks of `length` values; each loses its own mean.
void remove_block_means(float* buffer, std::uint16_t length, std::uint16_t blocks);
void abs_in_place(float* buffer, std::uint16_t n);
// p percent of a, truncated toward zero: the 32-bit product p x a, as a float,
// times 0.01. The flag selects nothing: every flag gives that result.
std::int32_t percent_of(std::int32_t a, std::uint8_t flag, std::uint8_t p);

}  // namespace vtl
