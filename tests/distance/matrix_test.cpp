#include "distance/matrix.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <vector>

#include "test_util.h"

namespace vtl {
namespace {

TEST(MatrixInvert, SmallMatricesAndTinyOrders) {
  std::uint16_t pivot[3] = {9, 9, 9};
  float a[] = {4, 7, 2, 6};
  ASSERT_EQ(1, matrix_invert(a, pivot, 2));
  EXPECT_TRUE(pivot[0] == 1 && pivot[1] == 1);  // 7 leads row 0; row 1 searches column 1 only
  const float expected[] = {0.59999996f, -0.69999987f, -0.19999997f, 0.39999995f};
  for (int i = 0; i < 4; ++i) EXPECT_FLOAT_BITS(expected[i], a[i]);

  float tie[] = {1, -1, 0, 1};  // equal magnitudes: the later column wins
  ASSERT_EQ(1, matrix_invert(tie, pivot, 2));
  EXPECT_TRUE(pivot[0] == 1 && tie[0] == 1 && tie[1] == 1 && tie[2] == 0 && tie[3] == 1);

  float singular[] = {1, 2, 3, 2, 4, 6, 1, 1, 1};
  EXPECT_EQ(0, matrix_invert(singular, pivot, 3));
  // A NaN row has no qualifying pivot: the column of the step before is kept.
  float with_nan[] = {5, 1, 1, test::kNaN, test::kNaN, test::kNaN, 1, 1, 4};
  EXPECT_EQ(1, matrix_invert(with_nan, pivot, 3));
  EXPECT_TRUE(pivot[0] == 0 && pivot[1] == 0 && pivot[2] == 0);

  float one = 4.0f, zero = 0.0f;
  pivot[0] = 9;
  EXPECT_EQ(1, matrix_invert(&one, pivot, 0));
  EXPECT_TRUE(one == 4.0f && pivot[0] == 9);  // nothing touched
  EXPECT_EQ(1, matrix_invert(&one, pivot, 1));
  EXPECT_TRUE(one == 0.25f && pivot[0] == 0);
  EXPECT_EQ(0, matrix_invert(&zero, pivot, 1));
}

TEST(MatrixInvert, ProductWithInverseIsIdentity) {
  std::mt19937 rng(20240611);
  std::uniform_real_distribution<float> entry(-1.0f, 1.0f);
  for (int n = 1; n <= 16; ++n) {
    // Diagonally dominant, with its columns shuffled so that pivots move.
    std::vector<int> column(n);
    std::iota(column.begin(), column.end(), 0);
    std::shuffle(column.begin(), column.end(), rng);
    std::vector<float> a(n * n);
    for (int r = 0; r < n; ++r)
      for (int c = 0; c < n; ++c) a[r * n + c] = entry(rng) + (column[c] == r ? n + 1.0f : 0.0f);
    const std::vector<float> original = a;
    std::vector<std::uint16_t> pivot(n);
    ASSERT_EQ(1, matrix_invert(a.data(), pivot.data(), static_cast<std::uint16_t>(n)));
    for (int r = 0; r < n; ++r) {
      for (int c = 0; c < n; ++c) {
        double sum = 0.0;  // row r of A times column c of its inverse
        for (int i = 0; i < n; ++i) sum += double(original[r * n + i]) * a[i * n + c];
        EXPECT_NEAR(r == c ? 1.0 : 0.0, sum, 1e-5) << n << "x" << n << " at " << r << "," << c;
      }
    }
  }
}

}  // namespace
}  // namespace vtl
