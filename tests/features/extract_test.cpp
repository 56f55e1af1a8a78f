#include "features/extract.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "test_util.h"

namespace vtl {
namespace {

constexpr float kUntouched = -777.0f;
using Slots = std::array<std::uint8_t, kFeatureCount>;

// Features first .. last in the row of their own number, the rest left out.
Slots identity_slots(int first, int last) {
  Slots s;
  s.fill(255);
  for (int k = first; k <= last; ++k) s[k] = static_cast<std::uint8_t>(k);
  return s;
}

bool untouched(const std::vector<float>& v) {
  return std::all_of(v.begin(), v.end(), [](float x) { return x == kUntouched; });
}

// One call filling column 1 of a kFeatureCount x 2 matrix; len is n or fft_len.
struct Call {
  std::vector<float> matrix = std::vector<float>(kFeatureCount * 2, kUntouched);
  std::vector<float> sorted, fft_work, spectrum;

  Call(const std::vector<float>& signal, const Slots& slots, std::uint16_t rows,
       std::uint8_t frequency, std::uint16_t len) {
    sorted.assign(signal.size() + 1, kUntouched);
    fft_work.assign(signal.size() + 1, kUntouched);
    spectrum.assign(signal.size() + 1, kUntouched);
    extract_features(signal.data(), matrix.data(), slots.data(), sorted.data(), 1, 2, len,
                     fft_work.data(), spectrum.data(), len, rows, frequency);
  }
  float at(int row) const { return matrix[row * 2 + 1]; }
};

TEST(ExtractFeatures, EveryTimeDomainFeatureInItsRow) {
  // In identifier order, the values of the single routines for (1, 2, 3, 10).
  const float expect[23] = {1.15f, 1.75f, 4.75f, 8.949999f, 2.5f, 4.0f, 1.0f, 10.0f, 10.0f,
                            9.0f, 3.5355339f, 12.5f, 5.3385391f, 1.8731716f, -0.7695999f,
                            1.0182338f, 2.995425f, 2.5f, 1.3346348f, 9.0f, 0.0f, 1.0f,
                            1.3862944f};
  const Call call({1.0f, 2.0f, 3.0f, 10.0f}, identity_slots(0, 22), kFeatureCount, 0, 4);
  for (int k = 0; k < 23; ++k) EXPECT_FLOAT_BITS(expect[k], call.at(k)) << "feature " << k;
  for (int r = 0; r < kFeatureCount; ++r) EXPECT_EQ(kUntouched, call.matrix[r * 2]);
  EXPECT_TRUE(untouched(call.fft_work));

  const Call mixed({4.0f, -1.0f, 2.5f, -1.0f, 0.0f, 3.0f, -2.0f, 1.5f}, identity_slots(0, 22), 23,
                   0, 8);
  EXPECT_EQ((std::vector<float>{-2.0f, -1.0f, -1.0f, 0.0f, 1.5f, 2.5f, 3.0f, 4.0f, kUntouched}),
            mixed.sorted);
  EXPECT_FLOAT_BITS(-1.6500001f, mixed.at(FEAT_P5));
  EXPECT_FLOAT_BITS(1.9061546f, mixed.at(FEAT_ENTROPY));
  EXPECT_FLOAT_BITS(5.0f, mixed.at(FEAT_ZERO_CROSSINGS));
}

TEST(ExtractFeatures, SelectionOrderAndUntouchedBuffers) {
  const std::vector<float> x{3.0f, -2.0f, 8.0f};
  for (std::uint8_t frequency : {0, 1}) {
    Slots off;
    off.fill(5);  // at rows (5), or anything with rows 0
    for (std::uint16_t rows : {0, 5}) {
      const Call call(x, off, rows, frequency, 2);
      EXPECT_TRUE(untouched(call.matrix) && untouched(call.sorted) && untouched(call.fft_work) &&
                  untouched(call.spectrum));
    }
  }
  // Features of the samples alone leave the sort buffers alone.
  const Call plain(x, identity_slots(5, 21), kFeatureCount, 0, 3);
  EXPECT_TRUE(untouched(plain.sorted) && untouched(plain.spectrum));

  // Of two features in one slot the later one stays: max after min, median
  // after every feature of the raw samples.
  Slots shared;
  shared.fill(255);
  shared[FEAT_MIN] = shared[FEAT_MAX] = 0;
  shared[FEAT_MEDIAN] = shared[FEAT_MEAN] = 1;
  const Call call(x, shared, 2, 0, 3);
  EXPECT_FLOAT_BITS(8.0f, call.at(0));
  EXPECT_FLOAT_BITS(3.0f, call.at(1));

  // An empty signal and a column outside the matrix are read nowhere.
  std::vector<float> m(kFeatureCount, kUntouched);
  const Slots all = identity_slots(0, 22);
  extract_features(nullptr, m.data(), all.data(), nullptr, 0, 1, 0, nullptr, nullptr, 0,
                   kFeatureCount, 0);
  EXPECT_TRUE(std::isnan(m[FEAT_P5]) && std::isnan(m[FEAT_MEAN]) && m[FEAT_ABS_DIFF_SUM] == 0.0f);
  std::fill(m.begin(), m.end(), kUntouched);
  extract_features(x.data(), m.data(), all.data(), nullptr, 1, 1, 3, nullptr, nullptr, 4,
                   kFeatureCount, 0);
  EXPECT_TRUE(untouched(m));
}

TEST(ExtractFeatures, FrequencyDomainSet) {
  const Call four({1.0f, 0.0f, -1.0f, 0.0f}, identity_slots(0, 26), kFeatureCount, 1, 4);
  EXPECT_FLOAT_BITS(1.0f, four.at(FEAT_SPECTRAL_PEAK));
  EXPECT_FLOAT_BITS(0.0f, four.at(FEAT_SPECTRAL_PEAK_BIN));
  EXPECT_FLOAT_BITS(1.0f, four.at(FEAT_SPECTRAL_SUM));
  EXPECT_FLOAT_BITS(1.0f, four.at(FEAT_SPECTRAL_ENERGY));
  EXPECT_TRUE(untouched(four.sorted));  // no time-domain work in the same call

  std::vector<float> x(8);
  for (int t = 0; t < 8; ++t) x[t] = 3.0f * std::cos(3.14159265f * static_cast<float>(t) / 2.0f);
  const Call eight(x, identity_slots(23, 26), kFeatureCount, 1, 8);
  EXPECT_FLOAT_BITS(1.0f, eight.at(FEAT_SPECTRAL_PEAK_BIN));  // DFT bin 2
  EXPECT_NEAR(3.0f, eight.at(FEAT_SPECTRAL_PEAK), 1e-5f);

  // No spectrum value (length 0 or 1) or no transform (not a power of two).
  for (std::uint16_t len : {0, 1, 3, 6}) {
    const Call bad({1.0f, 2.0f, 0.0f, -1.0f, 4.0f, 1.0f}, identity_slots(23, 26), 27, 1, len);
    EXPECT_TRUE(untouched(bad.matrix) && untouched(bad.fft_work) && untouched(bad.spectrum));
  }
}

}  // namespace
}  // namespace vtl
