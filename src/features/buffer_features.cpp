#include "features/buffer_features.h"

#include <cmath>
#include <limits>

#include "base/cr_math.h"

namespace vtl {

namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

// term(x[0]) + term(x[1]) + ... one single-precision addition at a time; n >= 1.
template <typename Term>
float sum_terms(const float* x, std::uint16_t n, Term term) {
  float acc = term(x[0]);
  for (std::uint32_t i = 1; i < n; ++i) acc = acc + term(x[i]);
  return acc;
}

// Pairs (x[i-1], x[i]) whose terms multiply to a strictly negative product.
template <typename Term>
std::uint16_t count_negative_products(const float* x, std::uint16_t n, Term term) {
  std::uint16_t count = 0;
  for (std::uint32_t i = 1; i < n; ++i) {
    if (term(x[i]) * term(x[i - 1]) < 0.0f) ++count;  // at most n - 1, no wrap
  }
  return count;
}

float identity(float v) { return v; }
float square(float v) { return v * v; }
float magnitude(float v) { return std::fabs(v); }
float root_magnitude(float v) { return std::sqrt(std::fabs(v)); }
float cube(float v) { return (v * v) * v; }
float fourth_power(float v) { return ((v * v) * v) * v; }

// The helpers below need n >= 1; the public routines check it.
float mean_of(const float* x, std::uint16_t n) {
  return sum_terms(x, n, identity) / static_cast<float>(n);
}

float variance_of(const float* x, std::uint16_t n) {
  const float m = mean_of(x, n);
  const float s = sum_terms(x, n, [m](float v) {
    const float d = v - m;
    return d * d;
  });
  return s / static_cast<float>(n);
}

float std_of(const float* x, std::uint16_t n) { return std::sqrt(variance_of(x, n)); }

// ((sum of power(d[i])) / power(sigma)) / n, with the mean and the standard
// deviation computed afresh as their own routines compute them.
template <typename Power>
float standardized_moment(const float* x, std::uint16_t n, Power power) {
  const float m = mean_of(x, n);
  const float sigma = std_of(x, n);
  const float s = sum_terms(x, n, [m, power](float v) { return power(v - m); });
  return (s / power(sigma)) / static_cast<float>(n);
}

float min_of(const float* x, std::uint16_t n) {
  float running = x[0];
  for (std::uint32_t i = 1; i < n; ++i) {
    if (!(x[i] > running)) running = x[i];
  }
  return running;
}

float max_of(const float* x, std::uint16_t n) {
  float running = x[0];
  for (std::uint32_t i = 1; i < n; ++i) {
    if (!(running > x[i])) running = x[i];
  }
  return running;
}

float peak_of(const float* x, std::uint16_t n) {
  const float hi = std::fabs(max_of(x, n));
  const float lo = std::fabs(min_of(x, n));
  return hi > lo ? hi : lo;
}

float rms_of(const float* x, std::uint16_t n) {
  return std::sqrt(sum_terms(x, n, square) / static_cast<float>(n));
}

float mean_abs_of(const float* x, std::uint16_t n) {
  return sum_terms(x, n, magnitude) / static_cast<float>(n);
}

// Linear interpolation in an ascending buffer at position pos in [0, n - 1].
float interpolate_at(const float* x, std::uint16_t n, float pos) {
  const auto i = static_cast<std::uint16_t>(pos);
  if (static_cast<std::uint32_t>(i) + 1u >= n) return x[n - 1];
  return x[i] + (x[i + 1] - x[i]) * (pos - static_cast<float>(i));
}

}  // namespace

float feature_sum(const float* x, std::uint16_t n) {
  return n == 0 ? 0.0f : sum_terms(x, n, identity);
}

float feature_sum_squares(const float* x, std::uint16_t n) {
  return n == 0 ? 0.0f : sum_terms(x, n, square);
}

float feature_mean(const float* x, std::uint16_t n) { return n == 0 ? kNaN : mean_of(x, n); }

float feature_min(const float* x, std::uint16_t n) { return n == 0 ? kNaN : min_of(x, n); }

float feature_max(const float* x, std::uint16_t n) { return n == 0 ? kNaN : max_of(x, n); }

float feature_peak_to_peak(const float* x, std::uint16_t n) {
  return n == 0 ? kNaN : max_of(x, n) - min_of(x, n);
}

float feature_peak(const float* x, std::uint16_t n) { return n == 0 ? kNaN : peak_of(x, n); }

float feature_variance(const float* x, std::uint16_t n) {
  return n == 0 ? kNaN : variance_of(x, n);
}

float feature_std(const float* x, std::uint16_t n) { return n == 0 ? kNaN : std_of(x, n); }

float feature_rms(const float* x, std::uint16_t n) { return n == 0 ? kNaN : rms_of(x, n); }

float feature_crest_factor(const float* x, std::uint16_t n) {
  return n == 0 ? kNaN : peak_of(x, n) / rms_of(x, n);
}

float feature_skewness(const float* x, std::uint16_t n) {
  return n == 0 ? kNaN : standardized_moment(x, n, cube);
}

float feature_kurtosis(const float* x, std::uint16_t n) {
  return n == 0 ? kNaN : standardized_moment(x, n, fourth_power) - 3.0f;
}

float feature_clearance_factor(const float* x, std::uint16_t n) {
  if (n == 0) return kNaN;
  const float q = sum_terms(x, n, root_magnitude) / static_cast<float>(n);
  return peak_of(x, n) / (q * q);
}

float feature_impulse_factor(const float* x, std::uint16_t n) {
  return n == 0 ? kNaN : peak_of(x, n) / mean_abs_of(x, n);
}

float feature_shape_factor(const float* x, std::uint16_t n) {
  return n == 0 ? kNaN : rms_of(x, n) / mean_abs_of(x, n);
}

float feature_abs_diff_sum(const float* x, std::uint16_t n) {
  if (n < 2) return 0.0f;  // no pair, nothing read
  float acc = std::fabs(x[1] - x[0]);
  for (std::uint32_t i = 2; i < n; ++i) acc = acc + std::fabs(x[i] - x[i - 1]);
  return acc;
}

std::uint16_t feature_zero_crossings(const float* x, std::uint16_t n) {
  return count_negative_products(x, n, identity);
}

std::uint16_t feature_mean_crossings(const float* x, std::uint16_t n) {
  if (n < 2) return 0;
  const float m = mean_of(x, n);
  return count_negative_products(x, n, [m](float v) { return v - m; });
}

std::uint16_t feature_argmax(const float* x, std::uint16_t n) {
  if (n < 2) return 0;
  float best = x[0];
  std::uint16_t index = 0;
  for (std::uint32_t i = 1; i < n; ++i) {
    if (!(best > x[i]) && x[i] > best) {
      best = x[i];
      index = static_cast<std::uint16_t>(i);
    }
  }
  return index;
}

float feature_entropy(const float* x, std::uint16_t n) {
  if (n == 0) return kNaN;
  const float count = static_cast<float>(n);
  float acc = 0.0f;
  float run_value = x[0];
  std::uint16_t run_length = 1;  // at most n, fits
  for (std::uint32_t i = 1; i < n; ++i) {
    if (x[i] == run_value) {
      ++run_length;
    } else {
      const float p = static_cast<float>(run_length) / count;
      acc = acc + cr_logf(p) * p;
      run_value = x[i];
      run_length = 1;
    }
  }
  const float p = static_cast<float>(run_length) / count;
  return -(cr_logf(p) * p + acc);
}

float feature_percentile(const float* x, std::uint16_t n, std::uint8_t p) {
  if (n == 0) return kNaN;
  if (p == 0) return x[0];
  if (p >= 100) return x[n - 1];  // beyond 100 percent there is only the largest value
  const float pos = (0.01f * static_cast<float>(p)) * (static_cast<float>(n) - 1.0f);
  return interpolate_at(x, n, pos);
}

float feature_median(const float* x, std::uint16_t n) {
  if (n == 0) return kNaN;
  return interpolate_at(x, n, 0.5f * (static_cast<float>(n) - 1.0f));
}

}  // namespace vtl
