#include "distance/matrix.h"

#include <cstddef>
#include <utility>

namespace vtl {

std::int32_t matrix_invert(float* a, std::uint16_t* pivot, std::uint16_t order) {
  if (order == 0) return 1;
  if (order == 1) {
    if (a[0] == 0.0f) return 0;
    pivot[0] = 0;
    a[0] = 1.0f / a[0];
    return 1;
  }

  // Indices in size_t: n * n does not fit an int for the largest orders.
  const std::size_t n = order;
  std::size_t p = 0;  // a row with no qualifying element keeps the last step's column
  for (std::size_t k = 0; k < n; ++k) {
    float* const pivot_row = a + k * n;

    float best = 0.0f;
    for (std::size_t j = k; j < n; ++j) {
      float v = pivot_row[j];
      if (v < 0.0f) v = -v;
      if (v >= best) {
        best = v;
        p = j;
      }
    }
    if (pivot_row[p] == 0.0f) return 0;

    if (p != k) {
      for (std::size_t r = 0; r < n; ++r) std::swap(a[r * n + k], a[r * n + p]);
    }
    pivot[k] = static_cast<std::uint16_t>(p);

    const float inv = 1.0f / pivot_row[k];
    pivot_row[k] = 1.0f;
    for (std::size_t r = 0; r < n; ++r) a[r * n + k] = a[r * n + k] * inv;

    // Every column c != k becomes a[r][c] - a[r][k] * t with t the pivot row's
    // entry, after that entry is set to 0. Each element depends only on its own
    // row's column k and on the pivot row's original entry, so the rows are
    // swept in memory order and the pivot row, which the others read, goes last.
    for (std::size_t r = 0; r < n; ++r) {
      if (r == k) continue;
      float* const row = a + r * n;
      const float f = row[k];
      for (std::size_t c = 0; c < k; ++c) row[c] = row[c] - f * pivot_row[c];
      for (std::size_t c = k + 1; c < n; ++c) row[c] = row[c] - f * pivot_row[c];
    }
    const float f = pivot_row[k];
    for (std::size_t c = 0; c < n; ++c) {
      if (c != k) pivot_row[c] = 0.0f - f * pivot_row[c];
    }
  }

  for (std::size_t k = n; k-- > 0;) {
    const std::size_t q = pivot[k];
    if (q == k) continue;
    float* const row_k = a + k * n;
    float* const row_q = a + q * n;
    for (std::size_t c = 0; c < n; ++c) std::swap(row_k[c], row_q[c]);
  }
  return 1;
}

}  // namespace vtl
