#include "transform/fft.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include "test_util.h"

namespace vtl {
namespace {

constexpr double kTwoPi = 6.283185307179586;

TEST(FftExact, SmallFramesAndImpulses) {
  // One point: no reordering and no stage, both parts doubled.
  float re1[] = {1.5f};
  float im1[] = {0.25f};
  fft_in_place(re1, im1, 1);
  EXPECT_FLOAT_BITS(3.0f, re1[0]);
  EXPECT_FLOAT_BITS(0.5f, im1[0]);

  float re2[] = {1.5f, 0.25f};
  float im2[] = {0.0f, 0.0f};
  fft_in_place(re2, im2, 2);
  EXPECT_FLOAT_BITS(1.75f, re2[0]);
  EXPECT_FLOAT_BITS(1.25f, re2[1]);
  EXPECT_EQ(0.0f, im2[0]);
  EXPECT_EQ(0.0f, im2[1]);

  float re4[] = {1.0f, 0.0f, 0.0f, 0.0f};
  float im4[4] = {};
  fft_in_place(re4, im4, 4);
  for (int k = 0; k < 4; ++k) {
    EXPECT_FLOAT_BITS(0.5f, re4[k]);
    EXPECT_EQ(0.0f, im4[k]);
  }

  // The largest length: the last stage spans 65536 points and must still end.
  std::vector<float> re(32768, 0.0f), im(32768, 0.0f);
  re[0] = 1.0f;
  fft_in_place(re.data(), im.data(), 32768);
  std::size_t off = 0;
  for (std::size_t k = 0; k < re.size(); ++k) {
    if (test::bits(re[k]) != test::bits(1.0f / 16384.0f) || im[k] != 0.0f) ++off;
  }
  EXPECT_EQ(0u, off);
}

TEST(FftExact, ConstantAndCosineAtEight) {
  float re[8], im[8] = {};
  for (float& v : re) v = 3.0f;
  fft_in_place(re, im, 8);
  EXPECT_FLOAT_BITS(6.0f, re[0]);
  for (int k = 1; k < 8; ++k) {
    EXPECT_NEAR(0.0f, re[k], 1e-6f);
    EXPECT_NEAR(0.0f, im[k], 1e-6f);
  }

  for (int t = 0; t < 8; ++t) {
    re[t] = static_cast<float>(std::cos(kTwoPi * t / 8.0));
    im[t] = 0.0f;
  }
  fft_in_place(re, im, 8);
  for (int k = 0; k < 8; ++k) {
    const float expected = (k == 1 || k == 7) ? 1.0f : 0.0f;
    EXPECT_NEAR(expected, re[k], 1e-6f) << "bin " << k;
    EXPECT_NEAR(0.0f, im[k], 1e-6f) << "bin " << k;
  }

  // A delayed impulse turns with a negative angle: the transform is a forward one.
  for (float& v : re) v = 0.0f;
  for (float& v : im) v = 0.0f;
  re[1] = 1.0f;
  fft_in_place(re, im, 8);
  for (int k = 0; k < 8; ++k) {
    EXPECT_NEAR(0.25 * std::cos(kTwoPi * k / 8.0), re[k], 1e-7) << "bin " << k;
    EXPECT_NEAR(-0.25 * std::sin(kTwoPi * k / 8.0), im[k], 1e-7) << "bin " << k;
  }
}

// Against a plain double-precision DFT scaled by 2/n, on random frames of every
// length from 2 to 4096 (samples uniform in [-1, 1]): the largest error in any
// bin stays below 2e-6 times the frame's largest sample up to 512 points and
// below 1e-4 times it from 1024 on. The larger bound is the recurrence's own:
// the half-angle sine comes from sqrt((1 - cos) / 2), and 1 - cos cancels in
// single precision once the angle is small (about 1e-4 relative error in the
// twiddle step of the 1024-point stage).
TEST(FftProperty, MatchesDirectTransform) {
  std::mt19937 rng(20240611u);
  std::uniform_real_distribution<float> sample(-1.0f, 1.0f);
  for (std::uint32_t n = 2; n <= 4096; n *= 2) {
    std::vector<float> x(n), re(n), im(n, 0.0f);
    float peak = 0.0f;
    for (std::uint32_t t = 0; t < n; ++t) {
      x[t] = re[t] = sample(rng);
      peak = std::fmax(peak, std::fabs(x[t]));
    }
    fft_in_place(re.data(), im.data(), static_cast<std::uint16_t>(n));

    double worst = 0.0;
    for (std::uint32_t k = 0; k < n; ++k) {
      double sr = 0.0, si = 0.0;
      for (std::uint32_t t = 0; t < n; ++t) {
        // Reduce k*t modulo n first so the angle stays small and exact.
        const double angle = kTwoPi * static_cast<double>((k * t) % n) / n;
        sr += x[t] * std::cos(angle);
        si -= x[t] * std::sin(angle);
      }
      const double dr = re[k] - sr * 2.0 / n;
      const double di = im[k] - si * 2.0 / n;
      worst = std::fmax(worst, std::sqrt(dr * dr + di * di));
    }
    const double bound = n <= 512 ? 2e-6 : 1e-4;
    EXPECT_LT(worst, bound * peak) << "n = " << n;
  }
}

TEST(FftGuards, EmptyAndNonPowerOfTwoLeaveArraysAlone) {
  const std::uint16_t lengths[] = {0, 3, 6, 12, 1000, 32769, 65535};
  std::vector<float> re(65535), im(65535);
  for (std::uint16_t n : lengths) {
    for (std::size_t i = 0; i < re.size(); ++i) {
      re[i] = static_cast<float>(i) + 0.5f;
      im[i] = -static_cast<float>(i);
    }
    fft_in_place(re.data(), im.data(), n);
    for (std::size_t i = 0; i < re.size(); ++i) {
      ASSERT_EQ(static_cast<float>(i) + 0.5f, re[i]) << "n = " << n;
      ASSERT_EQ(-static_cast<float>(i), im[i]) << "n = " << n;
    }
  }
  // n = 0 with no arrays at all reads and writes nothing.
  fft_in_place(nullptr, nullptr, 0);
}

TEST(FftSizes, StageCountAndBounds) {
  EXPECT_EQ(0, log2_of_pow2(0));
  EXPECT_EQ(0, log2_of_pow2(1));
  EXPECT_EQ(1, log2_of_pow2(2));
  EXPECT_EQ(10, log2_of_pow2(1024));
  EXPECT_EQ(15, log2_of_pow2(32768));
  EXPECT_EQ(2, log2_of_pow2(12));
  EXPECT_EQ(0, log2_of_pow2(7));

  struct Case {
    std::uint16_t n, lower, upper;
  };
  const Case cases[] = {{1000, 512, 1024}, {1024, 1024, 1024}, {0, 0, 0},   {3, 2, 4},
                        {1, 1, 1},         {32767, 16384, 32768},          {32768, 32768, 32768},
                        {32769, 0, 0},     {65535, 0, 0}};
  for (const Case& c : cases) {
    std::uint16_t lower = 7, upper = 7;
    power_of_two_bounds(c.n, &lower, &upper);
    EXPECT_EQ(c.lower, lower) << "n = " << c.n;
    EXPECT_EQ(c.upper, upper) << "n = " << c.n;
  }
  // Upper is written first, so a shared output ends up holding the lower bound.
  std::uint16_t both = 0;
  power_of_two_bounds(1000, &both, &both);
  EXPECT_EQ(512, both);
}

}  // namespace
}  // namespace vtl
