#include "base/vector_primitives.h"

#include "base/constants.h"

namespace vtl {

// Stores the running sum through `out` at every step before the division, as
// the device does (an `out` inside v sees those stores).
void vector_mean(const float* v, std::uint32_t n, float* out) {
  if (n == 0) {
    *out = kQuietNaN;
    return;
  }
  float acc = v[0];
  *out = acc;
  for (std::uint32_t i = 1; i < n; ++i) {
    acc = acc + v[i];
    *out = acc;
  }
  *out = acc / static_cast<float>(n);
}

void find_max(const float* v, std::uint32_t n, float* out_value, std::uint32_t* out_index) {
  *out_index = 0;
  if (n == 0) {
    *out_value = kQuietNaN;
    return;
  }
  *out_value = v[0];
  for (std::uint32_t i = 1; i < n; ++i) {
    // Strict and ordered: the first of equal maxima wins, NaN never wins.
    if (v[i] > *out_value) {
      *out_value = v[i];
      *out_index = i;
    }
  }
}

// The maps write element by element in increasing order, so a destination equal
// to (or overlapping) a source gives the result of the plain loop.
void vector_copy(const float* src, float* dst, std::uint32_t n) {
  for (std::uint32_t i = 0; i < n; ++i) dst[i] = src[i];
}

void vector_add_scalar(const float* src, float* dst, std::uint32_t n, float s) {
  for (std::uint32_t i = 0; i < n; ++i) dst[i] = src[i] + s;
}

void vector_add(const float* a, const float* b, float* dst, std::uint32_t n) {
  for (std::uint32_t i = 0; i < n; ++i) dst[i] = a[i] + b[i];
}

void vector_sub(const float* a, const float* b, float* dst, std::uint32_t n) {
  for (std::uint32_t i = 0; i < n; ++i) dst[i] = a[i] - b[i];
}

void vector_scale(const float* src, float* dst, std::uint32_t n, float s) {
  for (std::uint32_t i = 0; i < n; ++i) dst[i] = src[i] * s;
}

float abs_float(float x) { return x < 0.0f ? -x : x; }

}  // namespace vtl
