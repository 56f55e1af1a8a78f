#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <random>
#include <vector>

#include "distance/distance.h"
#include "test_util.h"

namespace vtl {
namespace {

using test::kNaN;
using Floats = std::vector<float>;

// The sums of squares are checked through the Euclidean distance and the angle
// below. The mean is one division of the sum, not a product with 1/n.
TEST(VectorPrimitives, MeanIsOneDivisionOfTheSum) {
  const float m[] = {1, 2, 4};
  float mean = 0.0f;
  vector_mean(m, 3, &mean);
  EXPECT_FLOAT_BITS(7.0f / 3.0f, mean);
  vector_mean(nullptr, 0, &mean);  // reads nothing
  EXPECT_TRUE(std::isnan(mean)) << mean;
}

// The first maximum and a leading NaN win; no values are read for a count of
// 0, which gives NaN at 0.
TEST(VectorPrimitives, FindMaxKeepsTheFirstMaximumAndALeadingNaN) {
  struct Max {
    float v[4];
    std::uint32_t n, index;
    float value;
  };
  for (const Max& c : {Max{{2, 5, 5, 1}, 4, 1, 5}, Max{{kNaN, 1, 2}, 3, 0, kNaN},
                       Max{{1, kNaN, 2}, 3, 2, 2}, Max{{}, 0, 0, kNaN}}) {
    float out = 0.0f;
    std::uint32_t index = 9;
    find_max(c.n == 0 ? nullptr : c.v, c.n, &out, &index);
    EXPECT_FLOAT_BITS(c.value, out);
    EXPECT_EQ(c.index, index);
  }
}

TEST(VectorPrimitives, SqrtOrZeroAndAbsKeepTheSignOfZero) {
  float out;
  // Ordered tests: -0.0 passes x >= 0 and keeps its sign through sqrtf; NaN fails.
  for (const auto& [x, root] :
       {std::pair{16.0f, 4.0f}, {-1.0f, 0.0f}, {kNaN, 0.0f}, {-0.0f, -0.0f}}) {
    sqrt_or_zero(&out, x);
    EXPECT_FLOAT_BITS(root, out) << x;
  }
  EXPECT_FLOAT_BITS(-0.0f, abs_float(-0.0f));
  EXPECT_FLOAT_BITS(2.5f, abs_float(-2.5f));
}

TEST(VectorPrimitives, ElementWiseMapsTouchEachElementOnce) {
  const float a[] = {1, 2, 3}, b[] = {3, 2, 1};
  Floats maps(12);
  vector_sub(a, b, &maps[0], 3);
  vector_add(a, b, &maps[3], 3);
  vector_scale(a, &maps[6], 3, 0.5f);
  vector_copy(b, &maps[9], 3);
  vector_add_scalar(&maps[3], &maps[3], 5, 10.0f);  // in place: each element once
  vector_add_scalar(a, &maps[0], 0, 1.0f);
  EXPECT_EQ(Floats({-2, 0, 2, 14, 14, 14, 10.5f, 11, 1.5f, 3, 2, 1}), maps);
}

TEST(PearsonCorrelation, ComesFromRawSumsAndGivesZeroBeyondOne) {
  struct Case {
    float x[3], y[3];
    std::uint16_t n;
    float expected;
  };
  const Case cases[] = {
      {{1, 2, 3}, {2, 4, 6}, 3, 1.0f},
      {{1, 2, 3}, {3, 2, 1}, 3, -1.0f},
      {{1000.5f, 1000.25f, 999.75f}, {1, 2, 3}, 3, -0.9185586f},  // raw sums cancel: not -0.982
      {{1, 1, 1}, {1, 2, 3}, 3, 0.0f},                            // constant: 0/0
      {{0.1f, 0.2f}, {1.1f, 1.3f}, 2, 0.0f},  // +-1.0000052 from rounding, replaced
      {{0.1f, 0.2f}, {1.3f, 1.1f}, 2, 0.0f},
      {{4}, {-1}, 1, 0.0f},
  };
  for (const Case& c : cases) {
    EXPECT_FLOAT_BITS(c.expected, pearson_correlation(c.x, c.y, c.n));
    EXPECT_FLOAT_BITS(c.n < 2 ? 1.0f : c.expected, guarded_correlation(c.x, c.y, c.n));
  }
}

float dist(int kind, const float* x, const float* y, float* work, std::uint32_t n) {
  return vector_distance(static_cast<DistanceKind>(kind), x, y, work, n);
}

// Kinds 0 to 2 on ordinary vectors are checked through measure_distance below.
TEST(VectorDistance, ElementWiseKindsRoundAsTheEngineAndSkipNaN) {
  const float x[] = {3, -1, 2}, y[] = {1, 1, 1}, zero[] = {0, 0, 0}, tenth[] = {0.1f, 0, 0};
  const float nan_first[] = {kNaN, 1, 2}, nan_later[] = {1, kNaN, 2};
  float work[3] = {};
  for (int k : {17, 255}) EXPECT_FLOAT_BITS(3.0f, dist(k, x, y, work, 3));
  EXPECT_EQ(Floats({2, 2, 1}), Floats(work, work + 3));
  // Manhattan divides by n and multiplies back: two roundings.
  EXPECT_FLOAT_BITS(0.10000001f, dist(DIST_MANHATTAN, tenth, zero, work, 3));
  EXPECT_FLOAT_BITS(0.0f, dist(DIST_EUCLIDEAN, nan_first, zero, work, 3));
  EXPECT_TRUE(std::isnan(dist(DIST_CHEBYSHEV, nan_first, zero, work, 3)));
  EXPECT_FLOAT_BITS(2.0f, dist(DIST_CHEBYSHEV, nan_later, zero, work, 3));
}

TEST(VectorDistance, CorrelationAndCosineNeverTouchTheWorkspace) {  // a null one here
  const float x[] = {3, -1, 2}, y[] = {1, 1, 1}, zero[] = {0, 0, 0};
  const float inc[] = {1, 2, 3}, dec[] = {3, 2, 1}, four = 4, minus_one = -1;
  // The count is taken modulo 2^16.
  EXPECT_FLOAT_BITS(2.0f, dist(DIST_CORRELATION, inc, dec, nullptr, 65538u));
  EXPECT_FLOAT_BITS(0.0f, dist(DIST_CORRELATION, inc, dec, nullptr, 65537u));
  EXPECT_FLOAT_BITS(1.0f - 4.0f / (std::sqrt(14.0f) * std::sqrt(3.0f)),
                    dist(DIST_COSINE, x, y, nullptr, 3));
  EXPECT_FLOAT_BITS(2.0f, dist(DIST_COSINE, &four, &minus_one, nullptr, 1));
  EXPECT_TRUE(std::isnan(dist(DIST_COSINE, x, zero, nullptr, 3)));
}

TEST(VectorDistance, EmptyVectorsAreNeverRead) {  // 0.0, but 0/0 for the cosine
  for (int k : {0, 1, 2, 3, 9}) EXPECT_FLOAT_BITS(0.0f, dist(k, nullptr, nullptr, nullptr, 0));
  EXPECT_TRUE(std::isnan(dist(DIST_COSINE, nullptr, nullptr, nullptr, 0)));
}

float angle(const float* x, const float* y) { return measure_distance(0, 4, 1, x, y, nullptr, 3); }

TEST(MeasureDistance, TheAngleClampsItsCosineToPlusMinusOne) {
  // Parallel (2x) rounds to a cosine of 0.99999994; 1000-scale vectors to +-1.0000001 (clamped).
  struct Case {
    float x[3], y[3], expected;
  };
  for (const Case& c : {Case{{1, 0, 0}, {0, 1, 0}, 1.5707964f},
                        {{1, 0, 0}, {-2, 0, 0}, 3.1415927f},
                        {{1, 2, 3}, {2, 4, 6}, std::acos(0.99999994f)},
                        {{5.5f, -2.25f, 1000}, {5.5f, -2.25f, 1000}, 0.0f},
                        {{5.5f, -2.25f, 1000}, {-5.5f, 2.25f, -1000}, 3.1415927f}})
    EXPECT_FLOAT_BITS(c.expected, angle(c.x, c.y));
  const float zero[3] = {};
  EXPECT_TRUE(std::isnan(angle(zero, zero)));
}

TEST(MeasureDistance, TheFlagMultipliesTheTwoSelectedMeasures) {
  const float x[] = {3, -1, 2}, y[] = {1, 1, 1};
  float work[3];
  const float expected[] = {2, 5, 3, 1, std::acos(4.0f / (std::sqrt(14.0f) * std::sqrt(3.0f)))};
  auto pick = [&](int s) { return expected[s == 3 || s == 4 ? s : s > 2 ? 2 : s]; };
  for (int flag : {1, 255})
    for (int a : {0, 1, 2, 3, 4, 5, 255})
      for (int b : {0, 1, 2, 3, 4, 5, 255})
        EXPECT_FLOAT_BITS(pick(a) * pick(b), measure_distance(flag, a, b, x, y, work, 3));
}

TEST(MeasureDistance, AbsoluteCorrelationIsOneMinusTheMagnitudeOfR) {
  // r = 1 below 2 elements (the low 16 bits of n). Without the flag the second measure is
  // not evaluated: on a null work it would crash.
  const float inc[] = {1, 2, 3}, dec[] = {3, 2, 1}, half[] = {1, 3, 2}, y[] = {1, 1, 1};
  EXPECT_FLOAT_BITS(0.0f, measure_distance(0, 3, 0, inc, dec, nullptr, 3));
  EXPECT_FLOAT_BITS(0.5f, measure_distance(0, 3, 0, inc, half, nullptr, 3));
  for (std::uint32_t n : {1u, 65536u, 65537u})
    EXPECT_FLOAT_BITS(0.0f, measure_distance(0, 3, 0, inc, y, nullptr, n));
}

using Pivots = std::vector<std::uint16_t>;

TEST(MatrixInvert, PivotsOnTheLargestMagnitudeTheLaterColumnOnTies) {
  Pivots pivot{9, 9};
  Floats a{4, 7, 2, 6};
  ASSERT_EQ(1, matrix_invert(a.data(), pivot.data(), 2));
  EXPECT_EQ(Pivots({1, 1}), pivot);  // 7 leads row 0; row 1 searches column 1 only
  EXPECT_EQ(Floats({0.59999996f, -0.69999987f, -0.19999997f, 0.39999995f}), a);
  Floats tie{1, -1, 0, 1};  // equal magnitudes
  EXPECT_EQ(1, matrix_invert(tie.data(), pivot.data(), 2));
  EXPECT_EQ(1, pivot[0]);
  EXPECT_EQ(Floats({1, 1, 0, 1}), tie);
}

// A singular matrix gives 0; a NaN row keeps the pivot column of the step
// before; order 0 touches nothing, and order 1 inverts.
TEST(MatrixInvert, EdgeCases) {
  Pivots pivot{9, 9, 9};
  float singular[] = {1, 2, 3, 2, 4, 6, 1, 1, 1}, zero = 0.0f, one = 4.0f;
  EXPECT_EQ(0, matrix_invert(singular, pivot.data(), 3));
  EXPECT_EQ(0, matrix_invert(&zero, pivot.data(), 1));
  float with_nan[] = {5, 1, 1, kNaN, kNaN, kNaN, 1, 1, 4};
  EXPECT_EQ(1, matrix_invert(with_nan, pivot.data(), 3));
  EXPECT_EQ(Pivots({0, 0, 0}), pivot);
  pivot[0] = 9;
  EXPECT_EQ(1, matrix_invert(&one, pivot.data(), 0));
  EXPECT_EQ(4.0f, one);
  EXPECT_EQ(9, pivot[0]);
  EXPECT_EQ(1, matrix_invert(&one, pivot.data(), 1));
  EXPECT_EQ(0.25f, one);
  EXPECT_EQ(0, pivot[0]);
}

TEST(MatrixInvert, ProductWithInverseIsIdentity) {
  std::mt19937 rng(20240611);
  std::uniform_real_distribution<float> entry(-1.0f, 1.0f);
  for (int n = 1; n <= 16; ++n) {
    std::vector<int> column(n);  // diagonally dominant, columns shuffled so that pivots move
    std::iota(column.begin(), column.end(), 0);
    std::shuffle(column.begin(), column.end(), rng);
    Floats a(n * n);
    for (int i = 0; i < n * n; ++i) a[i] = entry(rng) + (column[i % n] == i / n ? n + 1.0f : 0.0f);
    const Floats original = a;
    std::vector<std::uint16_t> pivot(n);
    ASSERT_EQ(1, matrix_invert(a.data(), pivot.data(), static_cast<std::uint16_t>(n)));
    for (int i = 0; i < n * n; ++i) {
      const int r = i / n, c = i % n;
      double sum = 0.0;  // row r of A times column c of its inverse
      for (int k = 0; k < n; ++k) sum += double(original[r * n + k]) * a[k * n + c];
      EXPECT_NEAR(r == c ? 1.0 : 0.0, sum, 1e-5) << n << "x" << n << " at " << r << "," << c;
    }
  }
}

TEST(KnownNorms, GiveTheMeasureBitForBitWithTheSameWorkspace) {
  const float q = kNaN, inf = std::numeric_limits<float>::infinity();
  // Three values a vector.
  const float v[] = {1,    0,      0,    1,       2,       3,    2,      4,       6,
                     0,    0,      0,    -0.0f,   0,       0,    q,      1,       2,
                     inf,  1,      1,    3.4e38f, 3.4e38f, 1,    1e-40f, -3e-45f, 1e-38f,
                     5.5f, -2.25f, 1000, -5.5f,   2.25f,   -1000};
  for (const std::uint8_t sa : {0, 1, 2, 3, 4, 5, 200}) {
    for (const std::uint8_t sb : {0, 1, 2, 3, 4, 5, 6}) {
      for (const float* x = v; x < std::end(v); x += 3) {
        for (const float* y = v; y < std::end(v); y += 3) {
          float work_plain[3] = {7, 7, 7}, work_known[3] = {7, 7, 7};
          const float plain = measure_distance(1, sa, sb, x, y, work_plain, 3);
          const float known = combined_distance_known_norms(sa, sb, x, y, angle_norm(x, 3),
                                                            angle_norm(y, 3), work_known, 3);
          ASSERT_EQ(test::bits(plain), test::bits(known)) << "selectors " << +sa << ", " << +sb;
          for (int i = 0; i < 3; ++i)
            ASSERT_EQ(test::bits(work_plain[i]), test::bits(work_known[i]));
        }
      }
    }
  }
}

}  // namespace
}  // namespace vtl
