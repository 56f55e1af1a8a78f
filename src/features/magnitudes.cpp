#include "features/magnitudes.h"

#include <cmath>
#include <cstddef>

#include "features/buffer_features.h"
#include "transform/fft.h"

namespace vtl {

namespace {

// The transform exists only for powers of two; any other length (0 among them)
// leaves every array exactly as the caller handed it over.
bool transformable(std::uint16_t n) { return n != 0 && (n & (n - 1u)) == 0; }

// Squared magnitude of bin k + 1, read before place k + 1 is overwritten, so
// the shift down by one place runs in one increasing pass.
float power_of_next_bin(const float* re, const float* im, std::uint32_t k) {
  return re[k + 1] * re[k + 1] + im[k + 1] * im[k + 1];
}

}  // namespace

void centered_spectrum(float* x, float* im, std::uint16_t n) {
  if (!transformable(n)) return;
  const float m = feature_mean(x, n);
  for (std::uint32_t i = 0; i < n; ++i) x[i] = x[i] - m;
  fft_in_place(x, im, n);
  const std::uint32_t half = n / 2u;
  for (std::uint32_t k = 0; k < half; ++k) im[k] = power_of_next_bin(x, im, k);
  for (std::uint32_t k = 0; k < half; ++k) im[k] = im[k] >= 0.0f ? std::sqrt(im[k]) : 0.0f;
}

void amplitude_spectrum(const float* x, float* work, float* amplitudes, std::uint16_t n) {
  if (!transformable(n)) return;
  for (std::uint32_t i = 0; i < n; ++i) {
    work[i] = x[i];
    amplitudes[i] = 0.0f;
  }
  fft_in_place(work, amplitudes, n);
  const std::uint32_t half = n / 2u;
  for (std::uint32_t k = 0; k < half; ++k)
    amplitudes[k] = std::sqrt(power_of_next_bin(work, amplitudes, k));
}

void norm_spectrum(const float* data, std::uint8_t d, float* mag, float* amplitudes,
                   std::uint16_t n) {
  if (!transformable(n)) return;
  for (std::uint32_t i = 0; i < n; ++i) {
    mag[i] = 0.0f;
    amplitudes[i] = 0.0f;
  }
  if (d > 0) {
    for (std::size_t j = 0; j < d; ++j) {
      for (std::size_t i = 0; i < n; ++i) {
        const float v = data[i * d + j];
        mag[i] = mag[i] + v * v;
      }
    }
    for (std::uint32_t i = 0; i < n; ++i) mag[i] = std::sqrt(mag[i]);
  }
  fft_in_place(mag, amplitudes, n);
  const std::uint32_t half = n / 2u;
  for (std::uint32_t k = 0; k < half; ++k)
    amplitudes[k] = std::sqrt(power_of_next_bin(mag, amplitudes, k));
}

}  // namespace vtl
