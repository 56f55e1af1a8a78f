// Band bounds, the bin floor, spectral band peaks and the band filter plan.

#include <gtest/gtest.h>

#include <array>
#include <cmath>

#include "conditioning/band_filter.h"
#include "conditioning/band_peak.h"
#include "conditioning/work_arrays.h"
#include "engine/model.h"
#include "test_util.h"

namespace vtl {
namespace {

TEST(BandPeak, BoundsAndBinFloor) {
  const Band band = band_bounds(4, 100.0f, 30.0f, 10.0f);  // N = 8: B = 3
  EXPECT_EQ(band.lo, 0u);
  EXPECT_EQ(band.length, 2u);
  EXPECT_EQ(band_bounds(4, 100.0f, 1000.0f, 40.0f).length, 2u);  // clamped to the 4 bins
  EXPECT_EQ(band_bounds(4, 100.0f, 10.0f, 50.0f).length, 0u);    // lower above upper
  EXPECT_EQ(band_bounds(4, 0.0f, 30.0f, 10.0f).lo, 4u);          // fs 0: infinite bounds, clamped
  EXPECT_EQ(band_bounds(4, 100.0f, test::kNaN, 0.0f).length, 1u);  // NaN bound: 0
  EXPECT_EQ(band_bounds(0, 100.0f, 50.0f, 0.0f).length, 0u);

  float spectrum[4] = {0.5f, -1.0f, test::kNaN, 0.2f};
  float peaks[4] = {9.0f, 9.0f, 9.0f, 9.0f};
  set_vector_length(4);
  vector_peak(nullptr, 0, spectrum, peaks);
  EXPECT_FLOAT_BITS(0.002f, spectrum[1]);
  EXPECT_FLOAT_BITS(0.004f, spectrum[2]);
  EXPECT_EQ(peaks[0], 0.5f);
  vector_peak_repeated(nullptr, 3, spectrum, peaks + 1);
  EXPECT_EQ(peaks[3], 0.5f);
  set_vector_length(0);
  peaks[0] = 9.0f;
  vector_peak(nullptr, 0, spectrum, peaks);
  EXPECT_EQ(peaks[0], 9.0f);
}

TEST(BandPeak, FrameSpectra) {
  // A frame of 8 whose first sample is 8 and the others 0: every magnitude is 2.
  std::array<float, 8> frame{}, spectrum{};
  set_frame_arrays(frame.data(), spectrum.data(), 8);
  set_frame_length(8);
  const float input[2] = {8.0f, 8.0f};
  float accumulator[4] = {};
  float peak[2] = {-1.0f, -1.0f};
  band_peak_accumulated(input, 1, accumulator, peak, 100.0f, 30.0f, 10.0f);
  EXPECT_NEAR(peak[0], 2.0f, 1e-6f);

  frame.fill(0.0f);
  frame_band_peak(input, peak, 100.0f, 30.0f, 10.0f);
  EXPECT_NEAR(peak[0], 2.0f, 1e-6f);

  frame.fill(0.0f);
  float running[4] = {};
  band_peak_per_frame(input, 2, running, peak, 100.0f, 50.0f, 0.0f);
  EXPECT_NEAR(peak[0], 2.0f, 1e-6f);
  EXPECT_GE(peak[1], peak[0]);  // the accumulation runs on across frames

  set_frame_length(16);  // beyond the arrays in use: nothing is written
  peak[0] = -1.0f;
  band_peak_accumulated(input, 1, accumulator, peak, 100.0f, 30.0f, 10.0f);
  frame_band_peak(input, peak, 100.0f, 30.0f, 10.0f);
  EXPECT_EQ(peak[0], -1.0f);
  set_frame_arrays(nullptr, nullptr, 0);
  set_frame_length(0);
}

TEST(BandFilter, PlanAndFilteredValues) {
  struct Case {
    float f_upper, f_lower;
    std::uint32_t count;
    FilterType type;
    float cutoffs[8];
  };
  const Case cases[] = {
      {50, 0, 0, FILTER_LOWPASS, {}},
      {20, 0, 4, FILTER_LOWPASS, {20, 0, 0, 0, 0, 20, 0, 20}},
      {50, 10, 3, FILTER_HIGHPASS, {10, 0, 10, 50, 10, 50}},
      {30, 10, 2, FILTER_BANDPASS, {10, 30, 10, 30}},
  };
  for (const Case& c : cases) {
    FilterCall calls[4];
    ASSERT_EQ(plan_band_filter(100.0f, c.f_upper, c.f_lower, calls), c.count);
    for (std::uint32_t i = 0; i < c.count; ++i) {
      EXPECT_EQ(calls[i].type, c.type);
      EXPECT_EQ(calls[i].first_cutoff, c.cutoffs[2 * i]);
      EXPECT_EQ(calls[i].second_cutoff, c.cutoffs[2 * i + 1]);
    }
  }

  float out[3] = {};
  float work[1];
  const float norm_of_three[3] = {1.0f, 2.0f, 2.0f};
  vector_norm_to_slot(norm_of_three, 3, out);
  EXPECT_EQ(out[0], 3.0f);
  vector_norm_to_slot(norm_of_three, 0, out);
  EXPECT_EQ(out[0], 0.0f);
  const float samples[3] = {3.0f, 4.0f, 0.0f};
  filtered_norm(samples, 3, work, out, 100.0f, 50.0f, 0.0f);  // no filter: the plain norm
  EXPECT_EQ(out[0], 5.0f);
  filtered_norm(samples, 1, work, out, 100.0f, 50.0f, 0.0f);  // never past n values
  EXPECT_EQ(out[0], 3.0f);
  // One sample through the 65-tap filter is its mean: each low-pass call puts it
  // back, the other types add nothing.
  filtered_first_sample(samples, work, out, 100.0f, 20.0f, 0.0f);
  EXPECT_EQ(out[0], 12.0f);
  filtered_samples(samples, 2, work, out, 100.0f, 30.0f, 10.0f);
  EXPECT_EQ(out[0] + out[1], 0.0f);
  filtered_first_sample(samples, work, out, 100.0f, 50.0f, 0.0f);
  EXPECT_EQ(out[0], 3.0f);
}

}  // namespace
}  // namespace vtl
