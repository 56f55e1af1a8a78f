#include "conditioning/band_peak.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "conditioning/work_arrays.h"
#include "expect_values.h"

namespace vtl {
namespace {

using test::expect_values;
using test::kInf;
using test::kNaN;
using test::kUntouched;

using Band = std::pair<std::uint32_t, std::uint32_t>;

// {lo, hi} over `bins` bins; {0, 0} for an empty band.
Band band(float fs, float f_upper, float f_lower, std::uint32_t bins = 4) {
  std::uint32_t lo = 99;
  std::uint32_t hi = 99;
  return band_bounds(bins, fs, f_upper, f_lower, &lo, &hi) ? Band{lo, hi} : Band{0, 0};
}

TEST(BandBounds, TruncatedAndClampedToTheBins) {
  EXPECT_EQ(band(100, 30, 10), Band(0, 2));  // B = 3: trunc(30 / 50), trunc(90 / 50) + 1
  EXPECT_EQ(band(100, 50, 25), Band(1, 4));  // a cut-off at nyq is the last bin
  EXPECT_EQ(band(100, 100, -1e30f), Band(0, 4));
  EXPECT_EQ(band(100, kInf, 0), Band(0, 4));
  EXPECT_EQ(band(100, 10, 40), Band(0, 0));  // inverted
  EXPECT_EQ(band(100, kNaN, 0), Band(0, 0));
  EXPECT_EQ(band(0, 30, 10), Band(0, 0));
  // No bins (B = -1): the unclamped hi of 1 would read past them.
  EXPECT_EQ(band(100, 30, 0, 0), Band(0, 0));
}

class SpectrumPeaks : public ::testing::Test {
 protected:
  void TearDown() override { use_library_work_arrays(); }
  float out[4] = {kUntouched, kUntouched, kUntouched, kUntouched};
};

TEST_F(SpectrumPeaks, ReadyMadeSpectraFloorTheirBinsBeforeThePeak) {
  float spectrum[] = {0.5f, -1, kNaN, 0.2f};
  set_vector_length(4);
  vector_peak(nullptr, 0, spectrum, out);
  expect_values({0.5f, 0.002f, 0.004f, 0.2f}, spectrum);
  EXPECT_FLOAT_BITS(0.5f, out[0]);
  spectrum[0] = -3;  // floors to 0.0, below the others
  vector_peak_repeated(nullptr, 3, spectrum, out);
  expect_values({0.2f, 0.2f, 0.2f, kUntouched}, out);
  float own[4] = {1, kNaN, 3, 2};
  set_frame_arrays(own, own, 4);
  spectrum_buffer_peak(nullptr, out + 3);
  EXPECT_FLOAT_BITS(3.0f, out[3]);
  set_vector_length(5);  // more than the array holds: nothing written
  spectrum_buffer_peak(nullptr, out);
  EXPECT_FLOAT_BITS(0.2f, out[0]);
}

TEST_F(SpectrumPeaks, AccumulatedBandMovesToTheFront) {
  set_frame_length(8);  // no frames: floor, move bins 1 .. 3 to the front, peak
  float accumulator[] = {9, -1, 0.5f, 0.25f};
  band_peak_accumulated(nullptr, 0, accumulator, out, 100, 50, 25);
  EXPECT_FLOAT_BITS(0.5f, out[0]);
  expect_values({0.002f, 0.5f, 0.25f, 0.25f}, accumulator);
}

TEST_F(SpectrumPeaks, FramesChainThroughTheFrameArray) {
  // N = 2: frame k is (input[k], what the last transform left in place 1) and
  // its one magnitude their difference. Inputs of 1 alternate magnitudes 1 and
  // 0, so the sum after frame k is k / 2 + 1; all 300 frames count.
  float frame[2] = {0, 0};
  float spectrum[2];
  set_frame_arrays(frame, spectrum, 2);
  set_frame_length(2);
  const std::vector<float> ones(300, 1.0f);
  std::vector<float> peaks(301, kUntouched);
  float sum[1] = {0};
  band_peak_per_frame(ones.data(), 300, sum, peaks.data(), 2, 1, 0);
  expect_values({1, 1, 2}, peaks.data());
  expect_values({129, 129, 130}, &peaks[256]);
  expect_values({150, kUntouched}, &peaks[299]);

  set_frame_length(4);  // more than the arrays hold
  band_peak_accumulated(ones.data(), 2, peaks.data() + 300, out, 2, 1, 0);
  set_frame_arrays(nullptr, nullptr, 0);
  frame_buffer = nullptr;  // no array at all: refused
  band_peak_per_frame(ones.data(), 2, peaks.data() + 300, out, 2, 1, 0);
  expect_values({kUntouched, kUntouched}, out);
  EXPECT_FLOAT_BITS(kUntouched, peaks[300]);
}

TEST_F(SpectrumPeaks, ArraysAssignedByHandAreTrustedWithTheFrame) {
  // Device code assigns the pointers and promises N floats each.
  float frame[4] = {0, 0, 0, 0};
  float spectrum[4] = {7, 7, 7, 7};
  frame_buffer = frame;
  spectrum_buffer = spectrum;
  set_frame_length(4);
  const float input[] = {2};
  float accumulator[2] = {0, 0};
  band_peak_accumulated(input, 1, accumulator, out, 4, 2, 0);
  // Frame (2, 0, 0, 0): a flat spectrum of 2 x 2 / 4 = 1 in both bins.
  expect_values({1, 1}, accumulator);
  EXPECT_FLOAT_BITS(1.0f, out[0]);
}

TEST_F(SpectrumPeaks, SingleFramePeakStartsAtTheFirstMagnitude) {
  // With input 1 first the frame alternates: all its energy (2) in the last bin.
  // Bins 1 .. 3 are 3 long, counted from bin 0: the last bin is not reached.
  const float first[] = {1};
  float frame[8] = {0, -1, 1, -1, 1, -1, 1, -1};
  float again[8] = {0, -1, 1, -1, 1, -1, 1, -1};
  float spectrum[8];
  set_frame_length(8);
  set_frame_arrays(frame, spectrum, 8);
  frame_band_peak(first, out, 100, 50, 0);
  set_frame_arrays(again, spectrum, 8);
  frame_band_peak(first, out + 1, 100, 50, 25);
  EXPECT_FLOAT_BITS(2.0f, out[0]);
  EXPECT_NEAR(0.0f, out[1], 1e-6f);

  set_peak_spectrum_array(spectrum, 4);  // too small for N = 8
  frame_band_peak(first, out + 2, 100, 50, 0);
  set_peak_spectrum_array(nullptr, 0);
  set_frame_length(6);  // not a power of two
  frame_band_peak(first, out + 2, 100, 50, 0);
  EXPECT_FLOAT_BITS(kUntouched, out[2]);
}

}  // namespace
}  // namespace vtl
