// Similarity scoring: the vote of each merged cluster, the clamps and the early
// return at 100.

#include "engine/scoring.h"

#include <gtest/gtest.h>

#include <cmath>

#include "engine/model.h"
#include "test_util.h"

namespace vtl {
namespace {

constexpr float kFactor = static_cast<float>(1.0 * 0.29);  // sensitivity 1

// A model measured by Chebyshev x absolute-correlation distance: the latter is
// 1 for a constant center, so the distance to a center (c, c, c) is simply the
// largest coordinate difference.
void reset_chebyshev() {
  engine_reset();
  measure_primary = 0;
  measure_secondary = 3;
}

void set_cluster(unsigned slot, std::uint16_t count, float radius, float c) {
  cluster_table[slot] = {count, radius, {c, c, c}};
}

TEST(Scoring, OnlyMergedClustersVote) {
  engine_reset();
  const float signal[3] = {1.0f, 2.0f, 3.0f};
  EXPECT_EQ(score_similarity(signal, kFactor), 0.0f);
  reset_chebyshev();
  set_cluster(0, 1, 5.0f, 1.0f);  // count 1: a single signal, never scored
  EXPECT_EQ(score_similarity(signal, kFactor), 0.0f);
}

TEST(Scoring, VotesClampAndTheBestWins) {
  reset_chebyshev();
  set_cluster(2, 2, 1.0f, 0.0f);
  const float ten_away[3] = {10.0f, 0.0f, 0.0f};
  const float near[3] = {1.0f, 0.0f, 0.0f};
  EXPECT_EQ(static_cast<int>(score_similarity(ten_away, kFactor)), 31);  // 90 / 0.29 / 10
  EXPECT_EQ(score_similarity(near, kFactor), 100.0f);                    // 310.3 clamped
  const float on_center[3] = {0.0f, 0.0f, 0.0f};
  EXPECT_EQ(score_similarity(on_center, kFactor), 100.0f);  // q = +inf

  // Sensitivity 2 halves an unclamped score.
  const float half_factor = static_cast<float>(2.0 * 0.29);
  EXPECT_NEAR(score_similarity(ten_away, half_factor), score_similarity(ten_away, kFactor) / 2.0f,
              1e-4f);

  // Two clusters voting about 40 and 70: 70 wins, whatever their order.
  reset_chebyshev();
  const float seventy = 70.0f * 10.0f * 0.29f / 90.0f;
  const float forty = 40.0f * 10.0f * 0.29f / 90.0f;
  set_cluster(1, 3, forty, 0.0f);
  set_cluster(6, 3, seventy, 0.0f);
  const float first = score_similarity(ten_away, kFactor);
  set_cluster(1, 3, seventy, 0.0f);
  set_cluster(6, 3, forty, 0.0f);
  EXPECT_EQ(score_similarity(ten_away, kFactor), first);
  EXPECT_NEAR(first, 70.0f, 1e-3f);
}

TEST(Scoring, DegenerateValuesAreAbsorbedByTheClamp) {
  reset_chebyshev();
  set_cluster(0, 2, 0.0f, 0.0f);  // radius 0
  const float on_center[3] = {0.0f, 0.0f, 0.0f};
  const float away[3] = {2.0f, 0.0f, 0.0f};
  EXPECT_EQ(score_similarity(on_center, kFactor), 0.0f);  // 0 / 0
  EXPECT_EQ(score_similarity(away, kFactor), 0.0f);

  set_cluster(0, 2, 1.0f, 0.0f);
  EXPECT_EQ(score_similarity(away, test::kNaN), 0.0f);      // NaN sensitivity
  EXPECT_EQ(score_similarity(away, -0.29f), 0.0f);          // negative sensitivity
  EXPECT_EQ(score_similarity(away, 0.0f), 100.0f);          // sensitivity 0
  const float nan_signal[3] = {test::kNaN, 0.0f, 0.0f};
  EXPECT_EQ(score_similarity(nan_signal, kFactor), 0.0f);   // NaN distance

  // With the reset selectors a zero center has no angle: NaN distance, score 0.
  engine_reset();
  set_cluster(0, 2, 1.0f, 0.0f);
  EXPECT_EQ(score_similarity(away, kFactor), 0.0f);
}

}  // namespace
}  // namespace vtl
