#include "conditioning/resample.h"

#include <cmath>
#include <cstddef>

#include "base/min_max.h"
#include "base/vector_primitives.h"
#include "conditioning/engine_link.h"

namespace vtl {

namespace {

void copy_values(const float* src, float* dst, std::uint32_t n) {
  for (std::uint32_t i = 0; i < n; ++i) dst[i] = src[i];
}

// Output o is the running mean of src[o .. o + n_in - n_out], seeded from the
// slot's old value; the first step weighs that value by 0. The outputs are
// independent chains of divisions, so eight of them advance side by side; each
// chain still takes exactly its own steps in order. The intermediate means are
// not stored, since nothing reads the slot before the chain ends.
void moving_average(const float* src, std::uint16_t n_in, float* out, std::uint16_t n_out) {
  constexpr std::uint32_t kLanes = 8;
  const std::uint32_t span = static_cast<std::uint32_t>(n_in) - n_out;
  std::uint32_t o = 0;
  for (; o + kLanes <= n_out; o += kLanes) {
    float m[kLanes];
    for (std::uint32_t l = 0; l < kLanes; ++l) m[l] = out[o + l];
    for (std::uint32_t j = 0; j <= span; ++j) {
      const float weight = static_cast<float>(j);
      const float count = static_cast<float>(j + 1);
      const float* const x = src + o + j;
      for (std::uint32_t l = 0; l < kLanes; ++l) m[l] = (x[l] + weight * m[l]) / count;
    }
    for (std::uint32_t l = 0; l < kLanes; ++l) out[o + l] = m[l];
  }
  for (; o < n_out; ++o) {
    float m = out[o];
    for (std::uint32_t j = 0; j <= span; ++j) {
      m = (src[o + j] + static_cast<float>(j) * m) / static_cast<float>(j + 1);
    }
    out[o] = m;
  }
}

// One past the last input of a bin: k belongs while float(k) <= bound, which
// for the exactly representable 16-bit k means k <= trunc(bound). Capped at
// n_in, so no rounding of r * o can carry a bin past the source.
std::uint32_t bin_end(float bound, std::uint16_t n_in) {
  if (!(bound >= 0.0f)) return 0;
  const std::uint32_t end = static_cast<std::uint32_t>(bound) + 1u;  // bound < 65536
  return end < n_in ? end : n_in;
}

// Bin maximum (mode 0), bin mean (mode 1), or no bin rule at all (any mode above
// 4), each followed by the fallbacks that fill slots left below the minimum.
void bin_rules(const float* src, std::uint16_t n_in, float* out, std::uint16_t n_out,
               std::uint16_t mode) {
  const float r = static_cast<float>(n_in) / static_cast<float>(n_out);
  float m;
  std::uint32_t position;
  find_min(src, n_in, &m, &position);
  if (n_out == 0) return;

  // One input index runs on across the bins.
  std::uint32_t k = 0;
  for (std::uint32_t o = 1; o <= n_out; ++o) {
    float& slot = out[o - 1];
    const std::uint32_t end = bin_end(r * static_cast<float>(o) - 0.5f, n_in);
    if (mode == RESAMPLE_BIN_MAX) {
      float x = m - 1.0f;
      for (; k < end; ++k) x = float_max(x, src[k]);
      slot = x;
    } else if (mode == RESAMPLE_BIN_MEAN) {
      float a = m - 1.0f;
      for (std::uint32_t t = 0; k < end; ++k, ++t) {
        a = (static_cast<float>(t) * a + src[k]) / static_cast<float>(t + 1);
      }
      slot = a;
    }
    if (m > out[0]) out[0] = src[0];
    if (o > 1 && m > slot) slot = out[o - 2];
  }
}

}  // namespace

void resample_buffer(const float* src, std::uint16_t n_in, float* destination, std::uint16_t offset,
                     std::uint16_t n_out, std::uint16_t mode) {
  float* const out = destination + offset;
  if (n_out >= n_in) {
    copy_values(src, out, n_in);
    return;
  }
  switch (mode) {
    case RESAMPLE_MOVING_AVERAGE:
      moving_average(src, n_in, out, n_out);
      return;
    case RESAMPLE_KEEP_FIRST:
      copy_values(src, out, n_out);
      return;
    case RESAMPLE_KEEP_LAST:
      copy_values(src + (n_in - n_out), out, n_out);
      return;
    default:
      bin_rules(src, n_in, out, n_out, mode);
      return;
  }
}

void remove_mean(float* buffer, std::uint32_t n) {
  const std::uint16_t count = static_cast<std::uint16_t>(n & 0xFFFFu);
  if (count == 0) return;  // an empty mean: nothing to read, nothing to subtract
  float mean;
  vector_mean(buffer, count, &mean);
  vector_add_scalar(buffer, buffer, count, -mean);
}

void remove_block_means(float* buffer, std::uint16_t block_length, std::uint16_t block_count) {
  if (block_length == 0) return;
  // The block counter is as wide as the count, so every count is served.
  for (std::uint32_t b = 0; b < block_count; ++b) {
    float* const block = buffer + static_cast<std::size_t>(b) * block_length;
    float sum = 0.0f;
    for (std::uint32_t i = 0; i < block_length; ++i) sum = sum + block[i];
    const float mean = sum / static_cast<float>(block_length);
    for (std::uint32_t i = 0; i < block_length; ++i) block[i] = block[i] - mean;
  }
}

void abs_in_place(float* buffer, std::uint16_t n) {
  for (std::uint32_t i = 0; i < n; ++i) buffer[i] = abs_float(buffer[i]);
}

std::int32_t percent_of(std::int32_t a, std::uint8_t /*flag*/, std::uint8_t p) {
  // The product wraps at 32 bits like the device's integer multiply; the float
  // result is within +-2^31 * 0.01, so the truncation is always representable.
  const auto product =
      static_cast<std::int32_t>(static_cast<std::uint32_t>(p) * static_cast<std::uint32_t>(a));
  return static_cast<std::int32_t>(static_cast<float>(product) * 0.01f);
}

}  // namespace vtl
