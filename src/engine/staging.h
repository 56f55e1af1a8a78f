#pragma once
// Input staging: the engine copies a caller's signal into its own vector before
// learning or scoring, value by value through copy_value. reduce_max and
// find_min serve the signal-conditioning routines.

#include <cstdint>

namespace vtl {

// Process-wide one-value scratch; after stage_signal it holds the third value.
extern float value_scratch;

// destination[i] = source[i] for i = 0, 1, 2, bit for bit.
void stage_signal(const float* source, float* destination);
// destination[index] = source[0] when count != 0; the mode changes nothing.
void copy_value(const float* source, float* destination, std::uint16_t index, std::uint16_t count,
                std::uint16_t mode);
// destination[index] = the largest of the n values (fmaxf passes NaN over);
// nothing is written for n == 0.
void reduce_max(const float* values, std::uint16_t n, float* destination, std::uint16_t index);
// The first smallest value and its position. For n == 0 nothing is read: the
// minimum is NaN at position 0.
void find_min(const float* values, std::uint32_t n, float* minimum, std::uint32_t* position);

}  // namespace vtl
