#include "conditioning/band_filter.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "conditioning/work_arrays.h"
#include "expect_values.h"

namespace vtl {
namespace {

using test::expect_values;
using test::kNaN;
using test::kUntouched;

void expect_plan(float f_upper, float f_lower, FilterType type,
                 const std::vector<std::pair<float, float>>& cutoffs) {
  FilterCall calls[kMaxFilterCalls];
  const std::uint8_t count = plan_band_filter(100.0f, f_upper, f_lower, calls);
  ASSERT_EQ(count, cutoffs.size()) << "f_upper " << f_upper << ", f_lower " << f_lower;
  for (std::uint8_t c = 0; c < count; ++c) {
    EXPECT_EQ(calls[c].type, type);
    EXPECT_FLOAT_BITS(cutoffs[c].first, calls[c].first_cutoff);
    EXPECT_FLOAT_BITS(cutoffs[c].second, calls[c].second_cutoff);
  }
}

TEST(BandFilterPlan, TheCallsFollowTheTypeOfTheBand) {
  expect_plan(20, 0, FILTER_LOWPASS, {{20, 0}, {0, 0}, {0, 20}, {0, 20}});
  expect_plan(50, 10, FILTER_HIGHPASS, {{10, 0}, {10, 50}, {10, 50}});
  expect_plan(30, 10, FILTER_BANDPASS, {{10, 30}, {10, 30}});
  expect_plan(50, 0, FILTER_LOWPASS, {});  // pass-through
  // High-pass needs f_upper exactly at nyq; above it the band is clamped to nyq.
  expect_plan(80, 10, FILTER_BANDPASS, {{10, 50}, {10, 50}});
  // A NaN cut-off fails every comparison; fmaxf and fminf pass it over.
  expect_plan(kNaN, 10, FILTER_BANDPASS, {{10, 50}, {10, 50}});
  expect_plan(20, kNaN, FILTER_BANDPASS, {{0, 20}, {0, 20}});
}

class BandFilteredValues : public ::testing::Test {
 protected:
  void TearDown() override { use_library_work_arrays(); }
  float out[4] = {kUntouched, kUntouched, kUntouched, kUntouched};
  float* work = &out[3];
};

TEST_F(BandFilteredValues, APassThroughTakesTheNormOfTheFirstThreeValues) {
  const float src[] = {3, 4, 0, 100};
  vector_norm_to_slot(src, 3, out);
  vector_norm_to_slot(src, -4, out + 1);
  expect_values({5, 0}, out);
  // Pass-through takes the norm of exactly the first three values, whatever n is.
  filtered_norm(src, 4, work, out, 100, 50, 0);
  filtered_samples(src, 1, work, out + 1, 100, 50, 0);
  filtered_first_sample(src, work, out + 2, 100, 50, 0);
  expect_values({5, 5, 3, kUntouched}, out);  // out[3] is work[0], left alone
  filtered_norm(src, 1, work, out, 100, 50, 0);
  EXPECT_FLOAT_BITS(5.0f, out[0]);
}

TEST_F(BandFilteredValues, OneValueGivesItselfOncePerLowPassCall) {
  // One value minus its own mean is 0: each low-pass call adds the value back,
  // high- and band-pass calls add 0, into a work[0] cleared first.
  const float src[] = {3, 4, 0, 100};
  filtered_first_sample(src, work, out, 100, 20, 0);
  filtered_first_sample(src, work, out + 1, 100, 50, 10);
  filtered_norm(src, 3, work, out + 2, 100, 20, 0);
  expect_values({12, 0, 20}, out);  // four low-pass calls
  filtered_samples(src, 2, work, out, 100, 20, 0);
  expect_values({12, 16, 20}, out);
}

TEST_F(BandFilteredValues, FiltersOnlyWithAReadyTapArray) {
  const float one[] = {1};
  float taps[kFirTaps] = {};
  set_fir_taps(taps, kFirTaps);
  filtered_first_sample(one, work, out, 100, 30, 10);
  EXPECT_NEAR(0.4f, taps[32], 1e-6f);  // the band-pass centre tap went to our array
  float short_taps[10];
  set_fir_taps(short_taps, 10);
  filtered_first_sample(one, work, out + 1, 100, 30, 10);
  EXPECT_FLOAT_BITS(kUntouched, out[1]);
  set_fir_taps(nullptr, 0);
  float device_taps[kFirTaps] = {};
  fir_taps = device_taps;  // assigned by hand, as device code does: trusted with 65 taps
  filtered_samples(one, 1, work, out + 2, 100, 30, 10);
  EXPECT_FLOAT_BITS(0.0f, out[2]);  // one sample minus its mean, band-passed
  EXPECT_NEAR(0.4f, device_taps[32], 1e-6f);
  fir_taps = nullptr;
  float refused = kUntouched;
  filtered_samples(one, 1, work, &refused, 100, 30, 10);
  EXPECT_FLOAT_BITS(kUntouched, refused);
}

}  // namespace
}  // namespace vtl
