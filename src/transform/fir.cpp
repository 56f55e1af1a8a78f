#include "transform/fir.h"

#include <cmath>
#include <cstdint>
#include <cstring>

#include "base/constants.h"
#include "base/cr_math.h"
#include "base/vector_primitives.h"

namespace vtl {

namespace {

constexpr float kNearZero = 0.00001f;

// f * sinc(f * k): the ideal low-pass response of normalised cutoff f. The
// kernels are cut off without a window and keep the single-precision residues
// of sin(k pi) at integer k (about 2.8e-8), exactly as the device computes
// them: a tapered or cleaned-up kernel would filter better and differently.
float scaled_sinc(float f, float k) {
  const float x = f * k;
  if (-kNearZero < x && x < kNearZero) return f;
  return f * (cr_sinf(x * kPi) / (x * kPi));
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
  // The lengths are positive where they are converted.
  return na > 0 && nb > 0 && a0 < b0 + sizeof(float) * static_cast<std::size_t>(nb) &&
         b0 < a0 + sizeof(float) * static_cast<std::size_t>(na);
}

// One output element, adding its products one at a time in signal order. When
// out may share memory with the kernel or the signal, out is written on every
// step so that the result is the one of the plain loop.
template <bool kSeparate>
void convolve_one(const float* kernel, const float* signal, float* out, std::int32_t j,
                  std::int32_t kernel_len, std::int32_t signal_len, float offset) {
  const std::int32_t lo = j - kernel_len + 1 > 0 ? j - kernel_len + 1 : 0;
  const std::int32_t hi = j + 1 < signal_len ? j + 1 : signal_len;
  if (kSeparate) {
    float acc = *out;
    for (std::int32_t m = lo; m < hi; ++m) acc = acc + kernel[j - m] * (signal[m] - offset);
    *out = acc;
  } else {
    for (std::int32_t m = lo; m < hi; ++m) *out = *out + kernel[j - m] * (signal[m] - offset);
  }
}

// Four neighbouring outputs per vector. Each lane does exactly the scalar
// operations (no fused or reordered arithmetic), so the sums are unchanged.
using Lanes = float __attribute__((vector_size(16)));
constexpr std::int32_t kLanes = 4;
constexpr std::int32_t kMaxShifted = 256;

Lanes load_lanes(const float* p) {
  Lanes v;
  std::memcpy(&v, p, sizeof v);
  return v;
}

// kVectors * 4 neighbouring outputs whose sums all cover the whole kernel, run
// side by side; each still adds its products one at a time in signal order.
template <std::int32_t kVectors>
void convolve_block(const float* kernel, const float* signal, float* out, std::int32_t j,
                    std::int32_t kernel_len, float offset) {
  Lanes acc[kVectors];
  for (std::int32_t q = 0; q < kVectors; ++q) acc[q] = load_lanes(out + kLanes * q);
  const float* first = signal + (j - kernel_len + 1);
  // The samples less the offset, once per block rather than once per product.
  float shifted[kMaxShifted];
  const std::int32_t span = kernel_len - 1 + kLanes * kVectors;
  const bool staged = span <= kMaxShifted;
  if (staged) {
    for (std::int32_t i = 0; i < span; ++i) shifted[i] = first[i] - offset;
  }
  for (std::int32_t s = 0; s < kernel_len; ++s) {
    const float tap = kernel[kernel_len - 1 - s];
    if (staged) {
      for (std::int32_t q = 0; q < kVectors; ++q) {
        acc[q] = acc[q] + tap * load_lanes(shifted + s + kLanes * q);
      }
    } else {
      for (std::int32_t q = 0; q < kVectors; ++q) {
        acc[q] = acc[q] + tap * (load_lanes(first + s + kLanes * q) - offset);
      }
    }
  }
  std::memcpy(out, acc, sizeof acc);
}

}  // namespace

float sinc(float x) {
  if (-kNearZero < x && x < kNearZero) return 1.0f;
  return cr_sinf(x * kPi) / (x * kPi);
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
  if (klen == 0 || slen == 0) return;  // no product reaches any output

  const bool separate =
      !overlaps(out, out_len, kernel, klen) && !overlaps(out, out_len, signal, slen);
  std::int32_t j = start;
  if (!separate) {
    for (; j < end; ++j)
      convolve_one<false>(kernel, signal, out + (j - start), j, klen, slen, offset);
    return;
  }
  // Outputs before the kernel fully overlaps the signal, then whole blocks, then the rest.
  for (; j < end && j < klen - 1; ++j) {
    convolve_one<true>(kernel, signal, out + (j - start), j, klen, slen, offset);
  }
  constexpr std::int32_t kWide = 8 * kLanes;  // enough independent sums to hide latency
  for (; j + kWide <= end && j + kWide <= slen; j += kWide) {
    convolve_block<8>(kernel, signal, out + (j - start), j, klen, offset);
  }
  for (; j + kLanes <= end && j + kLanes <= slen; j += kLanes) {
    convolve_block<1>(kernel, signal, out + (j - start), j, klen, offset);
  }
  for (; j < end; ++j) convolve_one<true>(kernel, signal, out + (j - start), j, klen, slen, offset);
}

}  // namespace vtl
