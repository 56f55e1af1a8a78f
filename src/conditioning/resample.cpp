#include "conditioning/resample.h"

#include <cmath>

#include "distance/vector_primitives.h"
#include "engine/staging.h"

namespace vtl {

namespace {

void copy_run(const float* source, std::uint32_t count, float* destination) {
  for (std::uint32_t i = 0; i < count; ++i) destination[i] = source[i];
}

void moving_average(const float* source, std::uint16_t n_in, float* out, std::uint16_t n_out) {
  const std::uint32_t window = n_in - n_out + 1u;
  for (std::uint32_t o = 0; o < n_out; ++o) {
    // The running mean starts from what the slot holds; the first step
    // multiplies it by 0.
    float m = out[o];
    for (std::uint32_t j = 0; j < window; ++j) {
      m = (source[o + j] + static_cast<float>(j) * m) / static_cast<float>(j + 1);
      out[o] = m;
    }
  }
}

// Bins of r = n_in / n_out inputs each; one input index runs across the bins.
void bin_rules(const float* source, std::uint16_t n_in, float* out, std::uint16_t n_out,
               std::uint16_t mode) {
  const float r = static_cast<float>(n_in) / static_cast<float>(n_out);
  float m;
  std::uint32_t position;
  find_min(source, n_in, &m, &position);
  if (n_out == 0) return;
  std::uint16_t k = 0;
  for (std::uint32_t o = 1; o <= n_out; ++o) {
    float& slot = out[o - 1];
    const float bin_end = r * static_cast<float>(o) - 0.5f;
    if (mode == 0) {
      float x = m - 1.0f;
      slot = x;
      for (; k < n_in && static_cast<float>(k) <= bin_end; ++k) {
        x = std::fmax(x, source[k]);
        slot = x;
      }
    } else if (mode == 1) {
      float a = m - 1.0f;
      slot = a;
      for (float t = 0.0f; k < n_in && static_cast<float>(k) <= bin_end; ++k, t = t + 1.0f) {
        a = (t * a + source[k]) / (t + 1.0f);
        slot = a;
      }
    }
    // Fallbacks for slots that no number reached (all-NaN bins, other modes).
    if (m > out[0]) out[0] = source[0];
    if (o > 1 && m > slot) slot = out[o - 2];
  }
}

}  // namespace

void resample_buffer(const float* source, std::uint16_t n_in, float* destination,
                     std::uint16_t offset, std::uint16_t n_out, std::uint16_t mode) {
  float* out = destination + offset;
  if (n_out >= n_in) {
    copy_run(source, n_in, out);
  } else if (mode == RESAMPLE_MOVING_AVERAGE) {
    moving_average(source, n_in, out, n_out);
  } else if (mode == RESAMPLE_KEEP_FIRST) {
    copy_run(source, n_out, out);
  } else if (mode == RESAMPLE_KEEP_LAST) {
    copy_run(source + (n_in - n_out), n_out, out);
  } else {
    bin_rules(source, n_in, out, n_out, mode);
  }
}

void remove_mean(float* buffer, std::uint32_t n) {
  const auto count = static_cast<std::uint16_t>(n);
  float mean;
  vector_mean(buffer, count, &mean);
  vector_add_scalar(buffer, buffer, count, -mean);
}

void remove_block_means(float* buffer, std::uint16_t length, std::uint16_t blocks) {
  if (length == 0) return;
  // The block counter is as wide as the count, so every block is served.
  for (std::uint32_t b = 0; b < blocks; ++b) {
    float* block = buffer + static_cast<std::uint64_t>(b) * length;
    float sum = 0.0f;
    for (std::uint32_t i = 0; i < length; ++i) sum = sum + block[i];
    const float mean = sum / static_cast<float>(length);
    for (std::uint32_t i = 0; i < length; ++i) block[i] = block[i] - mean;
  }
}

void abs_in_place(float* buffer, std::uint16_t n) {
  for (std::uint32_t i = 0; i < n; ++i) buffer[i] = abs_float(buffer[i]);
}

std::int32_t percent_of(std::int32_t a, std::uint8_t /*flag*/, std::uint8_t p) {
  // The product wraps in 32 bits; its hundredth always fits the result.
  const auto product = static_cast<std::int32_t>(static_cast<std::uint32_t>(p) *
                                                 static_cast<std::uint32_t>(a));
  return static_cast<std::int32_t>(static_cast<float>(product) * 0.01f);
}

}  // namespace vtl
