// Similarity scoring: the vote of each merged cluster, the clamps, and the
// similarity byte that detection makes of the score.

#include "engine/scoring.h"

#include <gtest/gtest.h>

#include "distance/measure.h"
#include "engine/center_norms.h"
#include "engine/interface.h"
#include "engine/model.h"
#include "test_util.h"

namespace vtl {
namespace {

constexpr float kFactor = static_cast<float>(1.0 * 0.29);  // sensitivity 1

// Measured by Chebyshev x absolute correlation, which is 1 for the constant
// center (0, 0, 0): the distance is the largest coordinate difference.
void one_cluster(std::uint16_t count, float radius) {
  engine_reset();
  measure_primary = 0;
  measure_secondary = 3;
  cluster_table[2] = {count, radius, {0.0f, 0.0f, 0.0f}};
}

TEST(Scoring, EachMergedClusterVotesClampedTo0To100) {
  struct Case {
    std::uint16_t count;
    float radius, x, factor, expected;
  };
  const Case cases[] = {
      {1, 5.0f, 1.0f, kFactor, 0.0f},        // single signals never vote
      {2, 1.0f, 1.0f, kFactor, 100.0f},      // 310.3 clamped
      {2, 1.0f, 0.0f, kFactor, 100.0f},      // distance 0: q = +inf
      {2, 0.0f, 0.0f, kFactor, 0.0f},        // 0 / 0
      {2, 0.0f, 2.0f, kFactor, 0.0f},        // radius 0
      {2, 1.0f, 2.0f, test::kNaN, 0.0f},     // NaN sensitivity
      {2, 1.0f, 2.0f, -0.29f, 0.0f},         // negative sensitivity
      {2, 1.0f, 2.0f, 0.0f, 100.0f},         // sensitivity 0
      {2, 1.0f, test::kNaN, kFactor, 0.0f},  // NaN distance
  };
  for (const Case& c : cases) {
    one_cluster(c.count, c.radius);
    const float signal[3] = {c.x, 0.0f, 0.0f};
    EXPECT_EQ(score_similarity(signal, c.factor), c.expected) << c.radius << " " << c.x;
  }
}

TEST(Scoring, AVoteFallsWithTheDistanceAndTheSensitivity) {
  one_cluster(2, 1.0f);
  const float ten_away[3] = {10.0f, 0.0f, 0.0f};
  EXPECT_EQ(31, static_cast<int>(score_similarity(ten_away, kFactor)));  // 90 / 0.29 / 10
  EXPECT_NEAR(31.03f / 2.0f, score_similarity(ten_away, 2.0f * kFactor), 1e-2f);
  engine_reset();  // reset selectors: a zero center has no angle, so no vote
  cluster_table[0] = {2, 1.0f, {0.0f, 0.0f, 0.0f}};
  EXPECT_FLOAT_BITS(0.0f, score_similarity(ten_away, kFactor));
}

TEST(Scoring, TheBestVoteWinsInAnySlot) {
  const float ten_away[3] = {10.0f, 0.0f, 0.0f};
  const float seventy = 70.0f * 10.0f * 0.29f / 90.0f;
  const float forty = 40.0f * 10.0f * 0.29f / 90.0f;
  for (unsigned best : {0u, 9u}) {  // before and after the cluster voting 40
    one_cluster(3, forty);
    cluster_table[best] = {3, seventy, {0.0f, 0.0f, 0.0f}};
    EXPECT_NEAR(70.0f, score_similarity(ten_away, kFactor), 1e-3f) << "best in slot " << best;
  }
}

TEST(CenterNorms, FollowEveryCoordinateOfTheCenter) {
  cluster_table[4].center[0] = 1.0f;
  cluster_table[4].center[1] = 2.0f;
  cluster_table[4].center[2] = 3.0f;
  EXPECT_FLOAT_BITS(angle_norm(cluster_table[4].center, 3), center_norm(4));
  for (unsigned c = 0; c < 3; ++c) {
    cluster_table[4].center[c] = 10.0f;
    EXPECT_FLOAT_BITS(angle_norm(cluster_table[4].center, 3), center_norm(4)) << "coordinate " << c;
  }
}

TEST(Scoring, DetectionTruncatesTheScoreToTheByte) {
  vtl_anomalydetection_init();
  one_cluster(2, 89.99f * 0.29f / 90.0f);  // votes 89.99 at distance 1
  learn_count = 10;
  engine_status = status_minimum_learning_done;
  const float signal[3] = {1.0f, 0.0f, 0.0f};
  std::uint8_t similarity = 0;
  for (const auto& [sens, expected] :
       {std::pair{1.0f, 89}, std::pair{0.0f, 100}, std::pair{2.0f, 44}}) {
    sensitivity = sens;
    EXPECT_EQ(vtl_anomalydetection_detect(signal, &similarity), status_ok);
    EXPECT_EQ(similarity, expected) << "sensitivity " << sens;
  }
  sensitivity = 1.0f;
}

}  // namespace
}  // namespace vtl
