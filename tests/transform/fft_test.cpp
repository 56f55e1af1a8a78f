#include "transform/fft.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "test_util.h"

namespace vtl {
namespace {

constexpr double kTwoPi = 6.283185307179586;

TEST(Fft, ExactFrames) {
  float re1[] = {1.5f}, im1[] = {0.25f}, re2[] = {1.5f, 0.25f}, im2[] = {0.0f, 0.0f};
  fft_in_place(re1, im1, 1);  // no reordering, no stage: both parts doubled
  fft_in_place(re2, im2, 2);
  EXPECT_TRUE(re1[0] == 3.0f && im1[0] == 0.5f && re2[0] == 1.75f && re2[1] == 1.25f);
  EXPECT_TRUE(im2[0] == 0.0f && im2[1] == 0.0f);

  // Unit impulse: 2/n in every bin, also through all 15 stages of 32768 points.
  for (std::uint32_t n : {4u, 32768u}) {
    std::vector<float> re(n, 0.0f), im(n, 0.0f);
    re[0] = 1.0f;
    fft_in_place(re.data(), im.data(), static_cast<std::uint16_t>(n));
    for (std::uint32_t k = 0; k < n; ++k) ASSERT_TRUE(re[k] == 2.0f / n && im[k] == 0.0f) << k;
  }

  float re8[8], im8[8] = {};
  for (float& v : re8) v = 3.0f;
  fft_in_place(re8, im8, 8);
  EXPECT_FLOAT_BITS(6.0f, re8[0]);
  for (int t = 0; t < 8; ++t) re8[t] = static_cast<float>(std::cos(kTwoPi * t / 8.0)), im8[t] = 0;
  fft_in_place(re8, im8, 8);  // amplitude 1 in bins 1 and 7
  for (int k = 0; k < 8; ++k) EXPECT_NEAR((k == 1 || k == 7) ? 1.0f : 0.0f, re8[k], 1e-6f) << k;
}

// Against a double-precision DFT scaled by 2/n, on random frames (samples
// uniform in [-1, 1]) of every length from 2 to 4096: the largest bin error
// stays below 2e-6 up to 512 points and below 1e-4 from 1024 on. The larger
// bound belongs to the twiddle recurrence: the half-angle sine comes from
// sqrt((1 - cos) / 2), and 1 - cos cancels in single precision once the angle
// is small (about 1e-4 relative error in the 1024-point stage's step).
TEST(Fft, MatchesDirectTransform) {
  std::mt19937 rng(20240611u);
  std::uniform_real_distribution<float> sample(-1.0f, 1.0f);
  for (std::uint32_t n = 2; n <= 4096; n *= 2) {
    std::vector<float> x(n), re(n), im(n, 0.0f);
    for (std::uint32_t t = 0; t < n; ++t) x[t] = re[t] = sample(rng);
    fft_in_place(re.data(), im.data(), static_cast<std::uint16_t>(n));
    double worst = 0.0;
    for (std::uint32_t k = 0; k < n; ++k) {
      double sr = 0.0, si = 0.0;
      for (std::uint32_t t = 0; t < n; ++t) {
        const double angle = kTwoPi * ((k * t) % n) / n;
        sr += x[t] * std::cos(angle);
        si -= x[t] * std::sin(angle);
      }
      worst = std::fmax(worst, std::hypot(re[k] - sr * 2.0 / n, im[k] - si * 2.0 / n));
    }
    EXPECT_LT(worst, n <= 512 ? 2e-6 : 1e-4) << "n = " << n;
  }
}

TEST(Fft, EmptyAndNonPowerOfTwoLeaveArraysAlone) {
  std::vector<float> re(65535), im(65535);
  for (std::uint16_t n : {0, 3, 6, 12, 1000, 32769, 65535}) {
    for (std::size_t i = 0; i < re.size(); ++i) re[i] = i + 0.5f, im[i] = -float(i);
    fft_in_place(re.data(), im.data(), n);
    for (std::size_t i = 0; i < re.size(); ++i) {
      ASSERT_TRUE(re[i] == i + 0.5f && im[i] == -float(i)) << "n = " << n << " at " << i;
    }
  }
  fft_in_place(nullptr, nullptr, 0);
}

TEST(Fft, StageCountAndBounds) {
  const std::uint16_t ns[] = {0, 1, 2, 1024, 32768, 12, 7}, logs[] = {0, 0, 1, 10, 15, 2, 0};
  for (int i = 0; i < 7; ++i) EXPECT_EQ(logs[i], log2_of_pow2(ns[i])) << ns[i];
  // {n, lower, upper}; past 32768 the upper bound wraps to 0 in 16 bits.
  const std::uint16_t cases[][3] = {{1000, 512, 1024}, {1024, 1024, 1024}, {0, 0, 0}, {3, 2, 4},
                                    {32767, 16384, 32768}, {32769, 0, 0}, {65535, 0, 0}};
  for (const auto& c : cases) {
    std::uint16_t lower = 7, upper = 7;
    power_of_two_bounds(c[0], &lower, &upper);
    EXPECT_TRUE(lower == c[1] && upper == c[2]) << c[0] << ": " << lower << ", " << upper;
  }
  std::uint16_t both = 0;  // upper is written first
  power_of_two_bounds(1000, &both, &both);
  EXPECT_EQ(512, both);
}

}  // namespace
}  // namespace vtl
