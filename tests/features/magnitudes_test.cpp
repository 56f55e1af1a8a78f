#include "features/magnitudes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

#include "test_util.h"

namespace vtl {
namespace {

using test::kNaN;

constexpr float kUntouched = -777.0f;

// The spectrum of each routine for one real frame (one channel for the norm).
struct Spectra {
  std::vector<float> centered, amplitude, norm;
  explicit Spectra(const std::vector<float>& x) {
    const auto n = static_cast<std::uint16_t>(x.size());
    std::vector<float> frame(x), work(n);
    centered.assign(n, 0.0f);
    centered_spectrum(frame.data(), centered.data(), n);
    amplitude.assign(n, kUntouched);
    amplitude_spectrum(x.data(), work.data(), amplitude.data(), n);
    norm.assign(n, kUntouched);
    norm_spectrum(x.data(), 1, work.data(), norm.data(), n);
  }
};

TEST(Spectra, SmallFramesExactly) {
  const Spectra two({2.0f, 7.0f});
  EXPECT_FLOAT_BITS(5.0f, two.centered[0]);
  EXPECT_FLOAT_BITS(5.0f, two.amplitude[0]);
  EXPECT_FLOAT_BITS(5.0f, two.norm[0]);

  std::vector<float> data;  // 8 samples of (3, 4, 0): norms 5, no spectrum
  for (int i = 0; i < 8; ++i) data.insert(data.end(), {3.0f, 4.0f, 0.0f});
  std::vector<float> mag(8), amplitudes(8);
  norm_spectrum(data.data(), 3, mag.data(), amplitudes.data(), 8);
  for (int k = 0; k < 4; ++k) EXPECT_EQ(0.0f, amplitudes[k]);
}

TEST(Spectra, CosineShowsItsAmplitudeOneBelowItsPeriod) {
  for (std::uint16_t n : {8, 64, 1024}) {
    for (int f : {1, 3, n / 2 - 1}) {
      std::vector<float> x(n);
      for (std::uint16_t t = 0; t < n; ++t) {
        x[t] = 3.0f * static_cast<float>(std::cos(2.0 * std::numbers::pi * f * t / n));
      }
      const Spectra s(x);
      for (int k = 0; k < n / 2; ++k) {
        const float expect = k == f - 1 ? 3.0f : 0.0f;
        EXPECT_NEAR(expect, s.amplitude[k], 1e-3f) << "n " << n << " f " << f << " k " << k;
        EXPECT_NEAR(expect, s.centered[k], 1e-3f) << "n " << n << " f " << f << " k " << k;
      }
    }
  }
}

TEST(Spectra, NaNSampleSpreadsToEveryBin) {
  std::vector<float> x(16, 1.0f);
  x[5] = kNaN;
  const Spectra s(x);
  for (int k = 0; k < 8; ++k) {
    EXPECT_FLOAT_BITS(0.0f, s.centered[k]);  // the centered spectrum filters NaN out
    EXPECT_TRUE(std::isnan(s.amplitude[k]));
    EXPECT_TRUE(std::isnan(s.norm[k]));
  }
}

TEST(Spectra, LengthsWithoutATransformTouchNothing) {
  for (std::uint16_t n : {0, 3, 12, 1000, 65535}) {
    std::vector<float> x(n, 1.0f), a(n, kUntouched), b(n, kUntouched);
    centered_spectrum(x.data(), a.data(), n);
    amplitude_spectrum(x.data(), a.data(), b.data(), n);
    norm_spectrum(x.data(), 1, a.data(), b.data(), n);
    const auto same = [](const std::vector<float>& v, float f) {
      return std::all_of(v.begin(), v.end(), [f](float e) { return e == f; });
    };
    EXPECT_TRUE(same(x, 1.0f) && same(a, kUntouched) && same(b, kUntouched)) << "n " << n;
  }
}

}  // namespace
}  // namespace vtl
