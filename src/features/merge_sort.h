#pragma once
// Top-down merge sort of floats in ascending order through a caller's scratch
// buffer, and two small reordering routines. Only the strict comparison a > b
// decides, so equal values (0.0 and -0.0 among them) keep the order the merge
// gives them and NaNs stay where nothing is greater than them.
//
// Ranges lo .. hi are inclusive. A merge of lo .. hi writes tmp[0 .. hi - lo].
// The indices are widened inside, so hi = 65535 (65536 values, which the
// caller's buffers must then hold) is sorted like any other range.

#include <cstdint>

namespace vtl {

// Merges the ascending runs a[lo .. mid] and a[mid+1 .. hi]; on equal values the
// right run's element goes first. Does nothing unless lo <= mid < hi.
void merge_runs(float* a, float* tmp, std::uint16_t lo, std::uint16_t mid, std::uint16_t hi);
// Sorts a[lo .. hi]; two halves already in order cost one comparison, no merge.
// Does nothing (and reads nothing) when lo >= hi.
void merge_sort_range(float* a, float* tmp, std::uint16_t lo, std::uint16_t hi);
// The entry for ranges that may be empty or single.
void sort_range(float* a, float* tmp, std::uint16_t lo, std::uint16_t hi);
// dst[0 .. n-1] = src[0 .. n-1], then sorted when n >= 2; n == 0 touches nothing.
void sorted_copy(const float* src, float* dst, float* tmp, std::uint16_t n);
// Reverses each of count consecutive blocks of length values in place; nothing
// happens when count <= 0 or length <= 1.
void reverse_blocks(float* data, std::int32_t count, std::int32_t length);
void swap_values(float* a, float* b);

}  // namespace vtl
