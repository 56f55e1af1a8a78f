#include "features/merge_sort.h"

#include <cstddef>

namespace vtl {

namespace {

// 32-bit indices: a range may end at 65535, where 16-bit loop counters would
// wrap and never pass hi.
void merge_wide(float* a, float* tmp, std::uint32_t lo, std::uint32_t mid, std::uint32_t hi) {
  std::uint32_t i = lo;
  std::uint32_t j = mid + 1;
  std::uint32_t k = 0;
  while (i <= mid && j <= hi) {
    if (a[j] > a[i]) {
      tmp[k] = a[i];
      ++i;
    } else {
      tmp[k] = a[j];
      ++j;
    }
    ++k;
  }
  while (j <= hi) tmp[k++] = a[j++];
  while (i <= mid) tmp[k++] = a[i++];
  for (std::uint32_t t = 0; t <= hi - lo; ++t) a[lo + t] = tmp[t];
}

// Requires lo < hi.
void sort_wide(float* a, float* tmp, std::uint32_t lo, std::uint32_t hi) {
  const std::uint32_t mid = (lo + hi) / 2;
  if (lo < mid) sort_wide(a, tmp, lo, mid);
  if (mid + 1 < hi) sort_wide(a, tmp, mid + 1, hi);
  if (a[mid] > a[mid + 1]) merge_wide(a, tmp, lo, mid, hi);
}

}  // namespace

void merge_runs(float* a, float* tmp, std::uint16_t lo, std::uint16_t mid, std::uint16_t hi) {
  if (lo > mid || mid >= hi) return;  // not two runs inside lo .. hi
  merge_wide(a, tmp, lo, mid, hi);
}

void merge_sort_range(float* a, float* tmp, std::uint16_t lo, std::uint16_t hi) {
  // A single value is sorted; an inverted range is empty. Either way the
  // comparison of a[mid] with a[mid + 1] would read past the range.
  if (lo >= hi) return;
  sort_wide(a, tmp, lo, hi);
}

void sort_range(float* a, float* tmp, std::uint16_t lo, std::uint16_t hi) {
  if (lo >= hi) return;
  merge_sort_range(a, tmp, lo, hi);
}

void sorted_copy(const float* src, float* dst, float* tmp, std::uint16_t n) {
  for (std::uint32_t i = 0; i < n; ++i) dst[i] = src[i];
  if (n >= 2) merge_sort_range(dst, tmp, 0, static_cast<std::uint16_t>(n - 1));
}

void reverse_blocks(float* data, std::int32_t count, std::int32_t length) {
  if (count <= 0 || length <= 1) return;
  for (std::int32_t b = 0; b < count; ++b) {
    float* block = data + static_cast<std::ptrdiff_t>(b) * length;
    for (std::int32_t i = 0, k = length - 1; i < k; ++i, --k) swap_values(block + i, block + k);
  }
}

void swap_values(float* a, float* b) {
  const float t = *a;
  *a = *b;
  *b = t;
}

}  // namespace vtl
