#include "transform/fir.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "test_util.h"

namespace vtl {
namespace {

using Floats = std::vector<float>;

Floats design(int type, float fs, float f_low, float f_high, std::uint16_t ntaps = kFirTaps) {
  Floats taps(ntaps);
  fir_design(taps.data(), ntaps, static_cast<FilterType>(type), fs, f_low, f_high);
  return taps;
}

// The convolution by its definition: every (j, m) whose kernel index j - m is in
// range, m increasing, added to what out already holds.
void plain_convolve(const float* kernel, const float* signal, float* out, int klen, int slen,
                    int olen, float offset) {
  const int start = olen == klen + slen - 1 ? 0 : (klen - 1) / 2;
  for (int j = start; j < start + olen; ++j)
    for (int m = 0; m < slen; ++m)
      if (j - m >= 0 && j - m < klen) out[j - start] += kernel[j - m] * (signal[m] - offset);
}

TEST(Fir, KernelTapsAndSinc) {
  // fs 100, f_low 25, f_high 40: fc1 = 0.5, fc2 = 0.8; tap 32 is the centre.
  const Floats low = design(0, 100, 25, 40), high = design(1, 100, 25, 40);
  const Floats band = design(2, 100, 25, 40), three = design(3, 100, 25, 40);
  const float expected[][2] = {{0.5f, 0.31830987f}, {0.5f, -0.3183099f},
                               {0.3f, -0.13121204f}, {-0.3f, -0.50540775f}};
  const Floats* kernels[] = {&low, &high, &band, &three};
  for (int t = 0; t < 4; ++t) {
    const Floats& k = *kernels[t];
    EXPECT_FLOAT_BITS(expected[t][0], k[32]);
    EXPECT_FLOAT_BITS(expected[t][1], k[31]);
    EXPECT_FLOAT_BITS(k[31], k[33]);
    EXPECT_FLOAT_BITS(k[30], k[34]);
  }
  EXPECT_NEAR(-1.39e-8f, low[30], 1e-10f);  // sinf(pi) is not 0 in single precision
  EXPECT_FLOAT_BITS(-0.15136532f, band[30]);
  EXPECT_FLOAT_BITS(0.15136538f, three[30]);
  float sum = low[0];
  for (int i = 1; i < 65; ++i) sum += low[i];
  EXPECT_NEAR(0.99006f, sum, 1e-5f);  // cut off, not tapered
  for (int type : {4, 255}) EXPECT_EQ(three, design(type, 100, 25, 40));

  // fc1 doubles f_low before dividing, fc2 divides first: only overflow tells.
  EXPECT_TRUE(std::isnan(design(0, 1e38f, 3e38f, 0)[32]));
  EXPECT_FLOAT_BITS(6.0f, design(2, 1e38f, 0, 3e38f)[32]);
  const Floats even = design(0, 100, 25, 40, 4);  // half-integer offsets
  EXPECT_TRUE(even[1] == even[2] && even[0] == even[3]);
  EXPECT_NEAR(0.5 * std::sin(M_PI / 4) / (M_PI / 4), even[1], 1e-7);

  EXPECT_TRUE(sinc(0.0f) == 1.0f && sinc(0.000005f) == 1.0f && sinc(-0.000005f) == 1.0f);
  EXPECT_FLOAT_BITS(0.63661975f, sinc(0.5f));
  EXPECT_NEAR(-2.78e-8f, sinc(1.0f), 1e-10f);
}

TEST(Fir, ConvolveModes) {
  const float k2[] = {1, 2}, ones[] = {1, 1, 1}, k3[] = {1, 2, 3}, impulse[] = {1, 0, 0};
  Floats full(4), first3(3), centred(3), kept = {5, 6, 7, 8}, longer = {0, 0, 0, 0, 9, 9};
  convolve(k2, ones, full.data(), 2, 3, 4, 0.0f);
  convolve(k2, ones, first3.data(), 2, 3, 3, 0.0f);
  convolve(k3, impulse, centred.data(), 3, 3, 3, 0.0f);
  convolve(k2, ones, kept.data(), 2, 3, 4, 1.0f);  // every product is 0
  convolve(k2, ones, longer.data(), 2, 3, 6, 0.0f);  // centred, start 0, tail untouched
  EXPECT_EQ(Floats({1, 3, 3, 2}), full);
  EXPECT_EQ(Floats({1, 3, 3}), first3);
  EXPECT_EQ(Floats({2, 3, 0}), centred);
  EXPECT_EQ(Floats({5, 6, 7, 8}), kept);
  EXPECT_EQ(Floats({1, 3, 3, 2, 9, 9}), longer);
  Floats untouched = {4, 4};
  convolve(nullptr, ones, untouched.data(), 0, 3, 2, 0.0f);
  convolve(k2, nullptr, untouched.data(), 2, 0, 2, 0.0f);
  EXPECT_EQ(Floats({4, 4}), untouched);
}

// Exactly sized buffers (the sanitizer build sees any access past them): bit for
// bit the definition for every mix of lengths, and in place over the signal.
TEST(Fir, ConvolveMatchesDefinition) {
  std::mt19937 rng(7u);
  std::uniform_real_distribution<float> value(-2.0f, 2.0f);
  auto fill = [&](int n) { Floats v(n); for (float& x : v) x = value(rng); return v; };
  for (int klen : {1, 2, 3, 16, 65, 70}) {
    for (int slen : {1, 5, 17, 64, 100, 300}) {
      const int full = klen + slen - 1;
      for (int olen : {1, slen, full - 1, full, full + 20}) {
        if (olen < 1) continue;
        const Floats kernel = fill(klen), signal = fill(slen), initial = fill(olen);
        Floats out = initial, expected = initial;
        convolve(kernel.data(), signal.data(), out.data(), klen, slen, olen, 0.5f);
        plain_convolve(kernel.data(), signal.data(), expected.data(), klen, slen, olen, 0.5f);
        ASSERT_EQ(expected, out) << klen << " " << slen << " " << olen;
      }
    }
  }
  Floats kernel = fill(65), buffer = fill(200), expected = buffer;
  for (float& x : kernel) x *= 0.01f;  // keeps the in-place feedback finite
  convolve(kernel.data(), buffer.data(), buffer.data(), 65, 200, 200, 0.25f);
  plain_convolve(kernel.data(), expected.data(), expected.data(), 65, 200, 200, 0.25f);
  EXPECT_EQ(expected, buffer);
}

TEST(Fir, FilterOffsetsByTheMean) {
  float taps[kFirTaps];
  for (int type : {0, 1, 2, 3, 4, 255}) {  // only 0 and 3 put the mean back
    const float back = (type == 0 || type == 3) ? 2.5f : 0.0f;
    Floats src(100, 2.5f), dst(100, 0.0f);
    fir_filter(src.data(), dst.data(), taps, 100, static_cast<FilterType>(type), 100, 25, 40);
    EXPECT_EQ(Floats(100, back), dst) << type;
    fir_filter(src.data(), dst.data(), taps, 100, static_cast<FilterType>(type), 100, 25, 40);
    EXPECT_EQ(Floats(100, back + back), dst) << type;
  }
  float one[] = {7.0f};  // empty buffer: src unread, dst kept, taps still designed
  fir_filter(nullptr, one, taps, 0, FILTER_LOWPASS, 100, 25, 40);
  EXPECT_TRUE(one[0] == 7.0f && taps[32] == 0.5f);
}

}  // namespace
}  // namespace vtl
