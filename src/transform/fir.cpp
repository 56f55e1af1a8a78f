#include "transform/fir.h"

#include <cmath>
#include <cstdint>

#include "distance/vector_primitives.h"

namespace vtl {

namespace {

constexpr float kPi = 3.1415927f;
constexpr float kNearZero = 0.00001f;

// f * sinc(f * k): the ideal low-pass response of normalised cutoff f.
float scaled_sinc(float f, float k) {
  const float x = f * k;
  if (-kNearZero < x && x < kNearZero) return f;
  return f * (std::sin(x * kPi) / (x * kPi));
}

float tap_at(FilterType type, float fc1, float fc2, float k) {
  switch (type) {
    case FILTER_LOWPASS:
      return scaled_sinc(fc1, k);
    case FILTER_HIGHPASS:
      return sinc(k) - scaled_sinc(fc1, k);
    case FILTER_BANDPASS:
      return scaled_sinc(fc2, k) - scaled_sinc(fc1, k);
    default:  // -1 below f_low, 0 between the cutoffs, +1 above f_high
      return (sinc(k) - scaled_sinc(fc2, k)) - scaled_sinc(fc1, k);
  }
}

bool overlaps(const float* a, std::int32_t na, const float* b, std::int32_t nb) {
  const auto a0 = reinterpret_cast<std::uintptr_t>(a);
  const auto b0 = reinterpret_cast<std::uintptr_t>(b);
  return na > 0 && nb > 0 && a0 < b0 + sizeof(float) * nb && b0 < a0 + sizeof(float) * na;
}

// One output element, adding its products one at a time in signal order.
// Writing out on every step keeps the plain loop's result even when out
// shares memory with the kernel or the signal.
void convolve_one(const float* kernel, const float* signal, float* out, std::int32_t j,
                  std::int32_t kernel_len, std::int32_t signal_len, float offset) {
  const std::int32_t lo = j - kernel_len + 1 > 0 ? j - kernel_len + 1 : 0;
  const std::int32_t hi = j + 1 < signal_len ? j + 1 : signal_len;
  for (std::int32_t m = lo; m < hi; ++m) {
    *out = *out + kernel[j - m] * (signal[m] - offset);
  }
}

// kBlock neighbouring outputs whose sums all cover the whole kernel. Each
// output still adds its products in signal order; the block only runs the
// independent sums side by side.
constexpr std::int32_t kBlock = 16;

void convolve_block(const float* kernel, const float* signal, float* out, std::int32_t j,
                    std::int32_t kernel_len, float offset) {
  float acc[kBlock];
  for (std::int32_t v = 0; v < kBlock; ++v) acc[v] = out[v];
  const float* first = signal + (j - kernel_len + 1);
  for (std::int32_t s = 0; s < kernel_len; ++s) {
    const float tap = kernel[kernel_len - 1 - s];
    for (std::int32_t v = 0; v < kBlock; ++v) acc[v] = acc[v] + tap * (first[s + v] - offset);
  }
  for (std::int32_t v = 0; v < kBlock; ++v) out[v] = acc[v];
}

}  // namespace

float sinc(float x) {
  if (-kNearZero < x && x < kNearZero) return 1.0f;
  return std::sin(x * kPi) / (x * kPi);
}

void fir_design(float* taps, std::uint16_t ntaps, FilterType type, float fs, float f_low,
                float f_high) {
  const float fc1 = (f_low + f_low) / fs;
  const float fc2 = type >= FILTER_BANDPASS ? (f_high / fs) + (f_high / fs) : 0.0f;
  const float centre = 0.5f * static_cast<float>(static_cast<std::int32_t>(ntaps) - 1);
  for (std::uint32_t i = 0; i < ntaps; ++i) {
    taps[i] = tap_at(type, fc1, fc2, static_cast<float>(i) - centre);
  }
}

void fir_filter(const float* src, float* dst, float* taps, std::uint16_t n, FilterType type,
                float fs, float f_low, float f_high) {
  float mean;
  vector_mean(src, n, &mean);  // NaN for n == 0, but then nothing uses it
  fir_design(taps, kFirTaps, type, fs, f_low, f_high);
  convolve(taps, src, dst, kFirTaps, n, n, mean);
  if (type == FILTER_LOWPASS || type == 3) vector_add_scalar(dst, dst, n, mean);
}

void convolve(const float* kernel, const float* signal, float* out, std::uint16_t kernel_len,
              std::uint16_t signal_len, std::uint16_t out_len, float offset) {
  // 32-bit signed indices: the full length can exceed 16 bits or be -1.
  const std::int32_t klen = kernel_len;
  const std::int32_t slen = signal_len;
  const std::int32_t full = klen + slen - 1;
  const std::int32_t start = out_len == full ? 0 : (klen - 1) / 2;
  const std::int32_t end = start + out_len;

  const bool separate =
      !overlaps(out, out_len, kernel, klen) && !overlaps(out, out_len, signal, slen);
  std::int32_t j = start;
  if (separate && klen > 0) {
    // Outputs before the kernel fully overlaps the signal, then whole blocks.
    for (; j < end && j < klen - 1; ++j)
      convolve_one(kernel, signal, out + (j - start), j, klen, slen, offset);
    for (; j + kBlock <= end && j + kBlock <= slen; j += kBlock) {
      convolve_block(kernel, signal, out + (j - start), j, klen, offset);
    }
  }
  for (; j < end; ++j) convolve_one(kernel, signal, out + (j - start), j, klen, slen, offset);
}

}  // namespace vtl
