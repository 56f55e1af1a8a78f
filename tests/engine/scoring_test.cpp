// Similarity scoring: the vote of each merged cluster, the clamps, and the
// similarity byte that detection makes of the score.

#include "engine/scoring.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <utility>
#include <vector>

#include "base/min_max.h"
#include "distance/measure.h"
#include "engine/center_norms.h"
#include "engine/interface.h"
#include "engine/model.h"
#include "test_util.h"

namespace vtl {
namespace {

using test::kInf;
using test::kNaN;

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
      {1, 5.0f, 1.0f, kFactor, 0.0f},    // single signals never vote
      {2, 1.0f, 1.0f, kFactor, 100.0f},  // 310.3 clamped
      {2, 1.0f, 0.0f, kFactor, 100.0f},  // distance 0: q = +inf
      {2, 0.0f, 0.0f, kFactor, 0.0f},    // 0 / 0
      {2, 0.0f, 2.0f, kFactor, 0.0f},    // radius 0
      {2, 1.0f, 2.0f, kNaN, 0.0f},       // NaN sensitivity
      {2, 1.0f, 2.0f, -0.29f, 0.0f},     // negative sensitivity
      {2, 1.0f, 2.0f, 0.0f, 100.0f},     // sensitivity 0
      {2, 1.0f, kNaN, kFactor, 0.0f},    // NaN distance
  };
  for (const Case& c : cases) {
    one_cluster(c.count, c.radius);
    const float signal[3] = {c.x, 0.0f, 0.0f};
    EXPECT_EQ(score_similarity(signal, c.factor), c.expected) << c.radius << " " << c.x;
  }
}

// A vote falls with the distance and the sensitivity, the best vote wins in
// any slot, and a zero center has no angle (the reset selectors), so no vote.
TEST(Scoring, AVoteFallsWithTheDistanceAndTheSensitivityAndTheBestWins) {
  const float ten_away[3] = {10.0f, 0.0f, 0.0f};
  one_cluster(2, 1.0f);
  EXPECT_EQ(31, static_cast<int>(score_similarity(ten_away, kFactor)));  // 90 / 0.29 / 10
  EXPECT_NEAR(31.03f / 2.0f, score_similarity(ten_away, 2.0f * kFactor), 1e-2f);
  for (unsigned best : {0u, 9u}) {  // before and after the cluster voting 40
    one_cluster(3, 40.0f * 10.0f * 0.29f / 90.0f);
    cluster_table[best] = {3, 70.0f * 10.0f * 0.29f / 90.0f, {0.0f, 0.0f, 0.0f}};
    EXPECT_NEAR(70.0f, score_similarity(ten_away, kFactor), 1e-3f) << "best in slot " << best;
  }
  engine_reset();
  cluster_table[0] = {2, 1.0f, {0.0f, 0.0f, 0.0f}};
  EXPECT_FLOAT_BITS(0.0f, score_similarity(ten_away, kFactor));
}

TEST(CenterNorms, FollowEveryCoordinateOfTheCenter) {
  cluster_table[4] = {2, 0.0f, {1.0f, 2.0f, 3.0f}};
  for (unsigned changed = 0; changed <= 3; ++changed) {
    if (changed > 0) cluster_table[4].center[changed - 1] = 10.0f;
    EXPECT_FLOAT_BITS(angle_norm(cluster_table[4].center, 3), center_norm(4)) << changed;
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

// The reach of 100 must be the last float distance that votes 100: one ulp
// further must vote less, for radii and scales across the float range.
TEST(Scoring, TheReachOf100IsTheLastDistanceThatVotes100) {
  const auto votes_100 = [](float radius, float g, float d) { return g * (radius / d) >= 100.0f; };
  std::mt19937 random(7);
  std::uniform_real_distribution<float> exponent(-40.0f, 38.0f);
  std::vector<std::pair<float, float>> cases = {{1.0f, 90.0f * (1.0f / kFactor)},
                                                {1e-45f, 1.0f},
                                                {3.4e38f, 1e-30f},
                                                {kInf, 1.0f},
                                                {1e-40f, 1e30f},
                                                {5.0f, 1e-38f}};
  for (int i = 0; i < 5000; ++i) {
    cases.emplace_back(std::pow(10.0f, exponent(random)), std::pow(10.0f, exponent(random)));
  }
  for (const auto& [radius, g] : cases) {
    if (!(radius > 0.0f) || !(g > 0.0f) || g == kInf) continue;
    const float reach = reach_of_100(radius, g);
    ASSERT_TRUE(votes_100(radius, g, reach)) << radius << " " << g;
    ASSERT_FALSE(votes_100(radius, g, std::nextafter(reach, kInf))) << radius << " " << g;
    ASSERT_TRUE(votes_100(radius, g, reach / 2.0f)) << radius << " " << g;
  }
  // Radius 1 and sensitivity 1 vote 100 up to a distance of 90 / 0.29 / 100.
  EXPECT_NEAR(reach_of_100(1.0f, 90.0f * (1.0f / kFactor)), 0.9f / 0.29f, 1e-6f);
}

// Scoring as the algorithm states it: every merged slot measured with
// measure_distance, in order, until a vote of 100.
float plain_score(const float* signal, float factor) {
  float best = 0.0f;
  for (unsigned k = 0; k < kClusterSlots; ++k) {
    if (cluster_table[k].count <= 1) continue;
    const float d = measure_distance(1, measure_primary, measure_secondary, cluster_table[k].center,
                                     signal, distance_workspace, 3);
    const float q = cluster_table[k].radius / d;
    const float g = 90.0f * (1.0f / factor);
    const float v = g * q;
    const float s = float_min(static_cast<float>(double_max(static_cast<double>(v), 0.0)), 100.0f);
    if (s >= best) best = s;
    if (best == 100.0f) return 100.0f;
  }
  return best;
}

// With the reset selectors most scores are settled by bounds of the distances,
// without measuring them; the score and the workspace must be those of the
// plain loop for every model, signal and sensitivity.
TEST(Scoring, BoundedScoringEqualsThePlainLoop) {
  std::mt19937 random(5);
  std::normal_distribution<float> noise(0.0f, 1.0f);
  const float odd[] = {kNaN, kInf, -kInf, 0.0f, -0.0f, 1e-40f, 3e38f, 1e-45f};
  const float sensitivities[] = {1.0f, 0.5f, 2.0f, 100.0f, 1e-3f, 0.0f, -1.0f, kNaN, kInf};
  for (int model = 0; model < 400; ++model) {
    engine_reset();
    if (model % 5 == 4) {  // other selectors take the plain loop
      measure_primary = static_cast<std::uint8_t>(random() % 6);
      measure_secondary = static_cast<std::uint8_t>(random() % 6);
    }
    for (unsigned k = 0; k < kClusterSlots; ++k) {
      ClusterRecord& slot = cluster_table[k];
      slot.count = static_cast<std::uint16_t>(random() % 3 == 0 ? 1 : 2 + random() % 100);
      slot.radius = std::fabs(noise(random)) * 0.05f;
      for (float& c : slot.center) c = noise(random);
      if (random() % 25 == 0) slot.radius = odd[random() % 8];
      if (random() % 25 == 0) slot.center[random() % 3] = odd[random() % 7];
    }
    for (int trial = 0; trial < 50; ++trial) {
      float signal[3];
      const ClusterRecord& near = cluster_table[random() % kClusterSlots];
      const float spread = std::ldexp(1.0f, -static_cast<int>(random() % 20));
      for (unsigned c = 0; c < 3; ++c) signal[c] = near.center[c] + spread * noise(random);
      if (trial % 10 == 0) signal[random() % 3] = odd[random() % 7];
      if (trial % 13 == 0) std::copy(near.center, near.center + 3, signal);
      const float sensitivity = sensitivities[random() % 9];
      const float factor = static_cast<float>(static_cast<double>(sensitivity) * 0.29);
      float workspace[2][3];
      const auto scored = [&](float (*score)(const float*, float), float* kept) {
        std::fill(distance_workspace, distance_workspace + 3, 7.0f);
        const float result = score(signal, factor);
        std::copy(distance_workspace, distance_workspace + 3, kept);
        return result;
      };
      ASSERT_EQ(test::bits(scored(score_similarity, workspace[0])),
                test::bits(scored(plain_score, workspace[1])))
          << "model " << model << " trial " << trial;
      for (unsigned c = 0; c < 3; ++c) {
        if (std::isnan(workspace[0][c]) && std::isnan(workspace[1][c])) continue;
        ASSERT_EQ(test::bits(workspace[0][c]), test::bits(workspace[1][c]))
            << "workspace " << c << " model " << model << " trial " << trial;
      }
    }
  }
}

// The first merged cluster votes just above 100 at a wide angle, where its
// bounds straddle 100 and it must be measured; a later cluster would be
// proved to give 100 at once. Scoring stops at the first, and the workspace
// holds its coordinate differences.
TEST(Scoring, AVoteJustAbove100IsMeasuredWhenItsBoundsStraddle100) {
  engine_reset();
  const float signal[3] = {1.0f, 0.0f, 0.0f};
  cluster_table[1] = {5, 0.0f, {0.92f, 0.39f, 0.0f}};   // about 0.4 rad away
  cluster_table[6] = {5, 10.0f, {1.0f, 0.001f, 0.0f}};  // close, wide radius
  float work[3];
  const float d = measure_distance(1, 4, 1, cluster_table[1].center, signal, work, 3);
  const float g = 90.0f * (1.0f / kFactor);
  cluster_table[1].radius = 100.1f * d / g;
  ASSERT_GE(g * (cluster_table[1].radius / d), 100.0f);
  EXPECT_EQ(score_similarity(signal, kFactor), 100.0f);
  EXPECT_EQ(distance_workspace[0], 1.0f - 0.92f);
  EXPECT_EQ(distance_workspace[1], 0.39f);
}

}  // namespace
}  // namespace vtl
