#include "distance/correlation.h"

#include <gtest/gtest.h>

#include "test_util.h"

namespace vtl {
namespace {

TEST(PearsonCorrelation, RawSumsClampedToUnitRange) {
  struct Case {
    float x[3], y[3];
    std::uint16_t n;
    float expected;
  };
  const Case cases[] = {
      {{1, 2, 3}, {2, 4, 6}, 3, 1.0f},
      {{1, 2, 3}, {3, 2, 1}, 3, -1.0f},
      {{1, 2, 3}, {1, 3, 2}, 3, 0.5f},
      // Large common offset: the raw sums cancel (exact value about -0.982).
      {{1000.5f, 1000.25f, 999.75f}, {1, 2, 3}, 3, -0.9185586f},
      // Constant vectors: a zero variance term, or a tiny one over a zero numerator.
      {{1, 1, 1}, {1, 2, 3}, 3, 0.0f},
      {{0.1f, 0.1f, 0.1f}, {1, 2, 3}, 3, 0.0f},
      {{0.7f, 0.7f, 0.7f}, {1, 2, 3}, 3, 0.0f},
      {{1, test::kNaN, 3}, {1, 2, 3}, 3, 0.0f},
      {{5, 7}, {1, 2}, 2, 1.0f},
      // The quotient overshoots to +-1.0000052 and is replaced on either side.
      {{0.1f, 0.2f}, {1.1f, 1.3f}, 2, 0.0f},
      {{0.1f, 0.2f}, {1.3f, 1.1f}, 2, 0.0f},
      {{4}, {-1}, 1, 0.0f},
  };
  for (const Case& c : cases) {
    EXPECT_FLOAT_BITS(c.expected, pearson_correlation(c.x, c.y, c.n)) << c.x[0] << " " << c.y[0];
    EXPECT_FLOAT_BITS(c.n < 2 ? 1.0f : c.expected, guarded_correlation(c.x, c.y, c.n));
  }
  EXPECT_FLOAT_BITS(0.0f, pearson_correlation(nullptr, nullptr, 0));
  EXPECT_FLOAT_BITS(1.0f, guarded_correlation(nullptr, nullptr, 0));
}

}  // namespace
}  // namespace vtl
