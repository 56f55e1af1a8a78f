#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <numeric>
#include <random>
#include <vector>

#include "test_util.h"
#include "transform/transform.h"

namespace vtl {
namespace {

using Floats = std::vector<float>;

Floats random(std::mt19937& rng, int n, float lo = -2.0f, float hi = 2.0f) {
  std::uniform_real_distribution<float> value(lo, hi);
  Floats v(n);
  for (float& x : v) x = value(rng);
  return v;
}

TEST(Fft, SizesArePowersOfTwoThatFit16Bits) {
  // {n, log2, lower, upper}; past 32768 the upper bound wraps to 0 in 16 bits.
  // clang-format off
  const std::uint16_t sizes[][4] = {{0, 0, 0, 0}, {1, 0, 1, 1}, {2, 1, 2, 2}, {3, 0, 2, 4},
                                    {12, 2, 8, 16}, {1000, 3, 512, 1024}, {1024, 10, 1024, 1024},
                                    {32767, 0, 16384, 32768}, {32768, 15, 32768, 32768},
                                    {32769, 0, 0, 0}, {65535, 0, 0, 0}};
  // clang-format on
  for (const auto& s : sizes) {
    std::uint16_t lower = 7, upper = 7;
    power_of_two_bounds(s[0], &lower, &upper);
    EXPECT_EQ(s[1], log2_of_pow2(s[0])) << s[0];
    EXPECT_EQ(s[2], lower) << s[0];
    EXPECT_EQ(s[3], upper) << s[0];
  }
  std::uint16_t both = 0;  // upper is written first
  power_of_two_bounds(1000, &both, &both);
  EXPECT_EQ(512, both);
}

TEST(Fft, LengthsWithoutATransformTouchNothingAndAnImpulseFillsEveryBin) {
  Floats before(65535), re, im;
  std::iota(before.begin(), before.end(), 0.5f);
  re = im = before;
  for (std::uint16_t n : {0, 3, 6, 12, 1000, 32769, 65535}) {
    fft_in_place(re.data(), im.data(), n);
    ASSERT_EQ(before, re) << n;
    ASSERT_EQ(before, im) << n;
  }
  // A unit impulse through all 15 stages of 32768 points: 2 / n in every bin.
  re.assign(32768, 0.0f);
  im.assign(32768, 0.0f);
  re[0] = 1.0f;
  fft_in_place(re.data(), im.data(), 32768);
  EXPECT_EQ(Floats(32768, 0x1p-14f), re);
  EXPECT_EQ(Floats(32768, 0.0f), im);
}

// Against a double-precision DFT scaled by 2/n. From 1024 points on, the half-angle sine of
// the twiddle recurrence, sqrt((1 - cos) / 2), loses bits to cancellation: a looser bound.
TEST(Fft, MatchesDirectTransform) {
  std::mt19937 rng(20240611u);
  for (std::uint32_t n = 1; n <= 4096; n *= 2) {
    const Floats x = random(rng, n, -1.0f, 1.0f);
    Floats re = x, im(n, 0.0f);
    fft_in_place(re.data(), im.data(), static_cast<std::uint16_t>(n));
    double worst = 0.0;
    for (std::uint32_t k = 0; k < n; ++k) {
      std::complex<double> sum = 0.0;
      for (std::uint32_t t = 0; t < n; ++t)
        sum += double(x[t]) * std::polar(1.0, -2.0 * M_PI * ((k * t) % n) / n);
      worst = std::fmax(worst, std::abs(std::complex<double>(re[k], im[k]) - sum * (2.0 / n)));
    }
    EXPECT_LT(worst, n <= 512 ? 2e-6 : 1e-4) << "n = " << n;
  }
}

Floats design(int type, float fs, float f_low, float f_high, std::uint16_t ntaps = kFirTaps) {
  Floats taps(ntaps);
  fir_design(taps.data(), ntaps, static_cast<FilterType>(type), fs, f_low, f_high);
  return taps;
}

// The convolution by its definition: every (j, m) whose kernel index j - m is in range, m
// increasing, added to what out already holds.
void plain_convolve(const float* kernel, const float* signal, float* out, int klen, int slen,
                    int olen, float offset) {
  const int start = olen == klen + slen - 1 ? 0 : (klen - 1) / 2;
  for (int j = start; j < start + olen; ++j)
    for (int m = 0; m < slen; ++m)
      if (j - m >= 0 && j - m < klen) out[j - start] += kernel[j - m] * (signal[m] - offset);
}

TEST(Fir, KernelTapsOfEachTypeAreTheEnginesSincTerms) {
  // fs 100, f_low 25, f_high 40: fc1 = 0.5, fc2 = 0.8. {type, k = 0, k = +-1, k = +-2}; the
  // high-pass tap at +-1 holds the residue of sinf(pi), which is not 0 in single precision.
  const float taps[][4] = {{0, 0.5f, 0.31830987f, 0},
                           {1, 0.5f, -0.3183099f, 0},
                           {2, 0.3f, -0.13121204f, -0.15136532f},
                           {3, -0.3f, -0.50540775f, 0.15136538f}};
  for (const auto& t : taps) {
    const Floats k = design(static_cast<int>(t[0]), 100, 25, 40);
    for (int d : {-1, 0, 1})
      EXPECT_EQ(t[1 + std::abs(d)], k[32 + d]) << "type " << t[0] << " tap " << d;
    if (t[3] == 0) continue;
    for (int d : {-2, 2}) EXPECT_EQ(t[3], k[32 + d]) << "type " << t[0] << " tap " << d;
  }
  for (int type : {4, 255}) EXPECT_EQ(design(3, 100, 25, 40), design(type, 100, 25, 40));
  // fc1 doubles f_low before dividing, fc2 divides first: only overflow tells.
  EXPECT_TRUE(std::isnan(design(0, 1e38f, 3e38f, 0)[32]));
  EXPECT_FLOAT_BITS(6.0f, design(2, 1e38f, 0, 3e38f)[32]);
  const Floats even = design(0, 100, 25, 40, 4);  // half-integer offsets
  EXPECT_NEAR(0.5 * std::sin(M_PI / 4) / (M_PI / 4), even[1], 1e-7);
  EXPECT_FLOAT_BITS(1.0f, sinc(0.0f));
  EXPECT_FLOAT_BITS(0.63661975f, sinc(0.5f));  // 2 / pi
}

// Exactly sized buffers (the sanitizer build sees any access past them): bit for bit the
// definition for every mix of lengths, empty ones among them, and in place over the signal.
TEST(Fir, ConvolveMatchesDefinition) {
  std::mt19937 rng(7u);
  for (int klen : {0, 1, 2, 3, 16, 65, 70})
    for (int slen : {0, 1, 5, 17, 64, 100, 300})
      for (int length : {1, slen, klen + slen - 2, klen + slen - 1, klen + slen + 19}) {
        const int olen = std::max(length, 0);
        const Floats kernel = random(rng, klen), signal = random(rng, slen);
        Floats out = random(rng, olen), expected = out;
        convolve(kernel.data(), signal.data(), out.data(), klen, slen, olen, 0.5f);
        plain_convolve(kernel.data(), signal.data(), expected.data(), klen, slen, olen, 0.5f);
        ASSERT_EQ(expected, out) << klen << " " << slen << " " << olen;
      }
  const Floats kernel = random(rng, 65, -0.02f, 0.02f);  // small: the feedback stays finite
  Floats buffer = random(rng, 200), expected = buffer;
  convolve(kernel.data(), buffer.data(), buffer.data(), 65, 200, 200, 0.25f);
  plain_convolve(kernel.data(), expected.data(), expected.data(), 65, 200, 200, 0.25f);
  EXPECT_EQ(expected, buffer);
}

// fir_filter adds the centred convolution of the deviations from the mean to dst; types 0
// and 3 put the mean back. An empty buffer still gets the taps designed, src unread.
TEST(Fir, FilterMatchesDesignAndConvolution) {
  std::mt19937 rng(11u);
  Floats taps(kFirTaps);
  for (int type : {0, 1, 2, 3, 4, 255}) {
    const Floats src = random(rng, 100, 1.0f, 5.0f), kernel = design(type, 100, 25, 40);
    Floats dst = random(rng, 100), expected = dst;
    const float mean = std::accumulate(src.begin(), src.end(), 0.0f) / 100;
    plain_convolve(kernel.data(), src.data(), expected.data(), kFirTaps, 100, 100, mean);
    for (float& e : expected) e += (type == 0 || type == 3) ? mean : 0.0f;
    fir_filter(src.data(), dst.data(), taps.data(), 100, FilterType(type), 100, 25, 40);
    EXPECT_EQ(kernel, taps) << type;
    EXPECT_EQ(expected, dst) << type;
    float one = 7.0f;
    taps.assign(kFirTaps, 0.0f);
    fir_filter(nullptr, &one, taps.data(), 0, FilterType(type), 100, 25, 40);
    EXPECT_EQ(7.0f, one);
    EXPECT_EQ(kernel, taps) << type;
  }
}

}  // namespace
}  // namespace vtl
