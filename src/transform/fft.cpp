#include "transform/fft.h"

#include <cmath>
#include <utility>

namespace vtl {

namespace {

// The reordering only ends for powers of two; other lengths never reach it.
void bit_reverse(float* re, std::uint32_t n) {
  std::uint32_t j = 0;
  for (std::uint32_t i = 0; i + 1 < n; ++i) {
    if (i < j) std::swap(re[i], re[j]);
    std::uint32_t k = n >> 1;
    while (k <= j) {
      j -= k;
      k >>= 1;
    }
    j += k;
  }
}

}  // namespace

void fft_in_place(float* re, float* im, std::uint16_t n) {
  // An empty frame, or a length that is not a power of two, has no transform:
  // both arrays are left as they are.
  if (n == 0 || (n & (n - 1)) != 0) return;

  const float scale = 2.0f / static_cast<float>(n);
  const std::uint16_t stages = log2_of_pow2(n);
  const std::uint32_t len = n;
  if (len >= 2) bit_reverse(re, len);

  // The twiddle factors come from halving the angle stage by stage; the minus
  // sign on c2 makes this the forward transform.
  float c1 = -1.0f;
  float c2 = 0.0f;
  std::uint32_t l2 = 1;
  for (std::uint16_t stage = 0; stage < stages; ++stage) {
    const std::uint32_t l1 = l2;
    l2 = l1 << 1;
    float u1 = 1.0f;
    float u2 = 0.0f;
    for (std::uint32_t j = 0; j < l1; ++j) {
      for (std::uint32_t i = j; i < len; i += l2) {
        const std::uint32_t i1 = i + l1;
        const float t1 = u1 * re[i1] - u2 * im[i1];
        const float t2 = u1 * im[i1] + u2 * re[i1];
        re[i1] = re[i] - t1;
        im[i1] = im[i] - t2;
        re[i] = re[i] + t1;
        im[i] = im[i] + t2;
      }
      const float z = u1 * c1 - u2 * c2;
      u2 = u1 * c2 + u2 * c1;
      u1 = z;
    }
    // Half angles from the recurrence, not from a table or sine and cosine:
    // this is how the device gets its twiddles, and its spectra carry the
    // recurrence's rounding (about 1e-3 of the signal from 8192 points on).
    c2 = -std::sqrt((1.0f - c1) * 0.5f);
    c1 = std::sqrt((1.0f + c1) * 0.5f);
  }

  for (std::uint32_t i = 0; i < len; ++i) {
    re[i] = re[i] * scale;
    im[i] = im[i] * scale;
  }
}

std::uint16_t log2_of_pow2(std::uint16_t n) {
  // Odd lengths, and 0, which has no set bit, give 0.
  if (n == 0 || (n & 1u) != 0) return 0;
  std::uint16_t p = 1;
  while (((n >> p) & 1u) == 0) ++p;
  return p;
}

void power_of_two_bounds(std::uint16_t n, std::uint16_t* lower, std::uint16_t* upper) {
  const std::uint16_t below = static_cast<std::uint16_t>(n - 1u);
  if ((n & below) == 0) {
    *upper = n;
    *lower = n;
    return;
  }
  // Smear the highest bit of n - 1 downwards; past 32768 the next power of two
  // wraps to 0 in 16 bits and both bounds come out 0.
  std::uint16_t p = below;
  p = static_cast<std::uint16_t>(p | (p >> 8));
  p = static_cast<std::uint16_t>(p | (p >> 4));
  p = static_cast<std::uint16_t>(p | (p >> 2));
  p = static_cast<std::uint16_t>(p | (p >> 1));
  p = static_cast<std::uint16_t>(p + 1u);
  *upper = p;
  *lower = static_cast<std::uint16_t>(p >> 1);
}

}  // namespace vtl
