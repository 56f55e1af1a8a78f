// The learning step: filling, the pair search with its tie and NaN rules, the
// merge arithmetic and the large-cluster rule.

#include "engine/learning.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <tuple>
#include <utility>

#include "distance/measure.h"
#include "engine/model.h"
#include "test_util.h"

namespace vtl {
namespace {

void learn(float x, float y = 0.0f, float z = 0.0f) {
  const float signal[3] = {x, y, z};
  learning_update(signal);
}

// A reset model measured by the squared Euclidean distance (both selectors 2),
// which keeps expected distances easy to reason about.
void reset_squared_euclidean() {
  engine_reset();
  measure_primary = 2;
  measure_secondary = 2;
}

// A full table of far-apart single signals on the x axis at 1000 * k.
void fill_table_far_apart() {
  reset_squared_euclidean();
  for (int k = 0; k < 9; ++k) learn(1000.0f * static_cast<float>(k));
}

void expect_record(const ClusterRecord& record, std::uint16_t count, float radius,
                   std::array<float, 3> center) {
  EXPECT_EQ(count, record.count);
  EXPECT_FLOAT_BITS(radius, record.radius);
  for (int c = 0; c < 3; ++c) EXPECT_FLOAT_BITS(center[c], record.center[c]) << "coordinate " << c;
}

ClusterRecord merged(ClusterRecord a, ClusterRecord b) {
  EXPECT_EQ(merge_clusters(&a, &b), 1);
  expect_record(b, 1, 0.0f, {kEmptySlotCenter, kEmptySlotCenter, kEmptySlotCenter});
  return a;
}

TEST(Learning, TheTenthSignalMergesWithTheNearestOfTheFirstNine) {
  reset_squared_euclidean();
  for (int k = 0; k < 9; ++k) learn(10.0f * static_cast<float>(k));
  for (int k = 0; k < 9; ++k) EXPECT_EQ(cluster_table[k].center[0], 10.0f * static_cast<float>(k));
  EXPECT_EQ(filled_slots, 9);
  EXPECT_EQ(spare_slot, 9);

  learn(41.0f);  // nearest to slot 4 (40): the pair (4, 9)
  expect_record(cluster_table[4], 2, 0.25f, {40.5f, 0, 0});
  expect_record(cluster_table[9], 1, 0.0f, {kEmptySlotCenter, kEmptySlotCenter, kEmptySlotCenter});
  EXPECT_EQ(test::bits(kEmptySlotCenter), 0x477FFF00u);  // 65535
  EXPECT_EQ(spare_slot, 9);
  EXPECT_EQ(pair_distance[pair_index(4, 9)], 1.0f);
  EXPECT_EQ(closest_distance, 1.0f);
}

TEST(Learning, MergeMovesTheCenterAndTakesTheLargerRadius) {
  reset_squared_euclidean();
  // Both moved by 1 (squared).
  expect_record(merged({1, 0.0f, {0, 4, 0}}, {1, 0.0f, {2, 4, 0}}), 2, 1.0f, {1, 4, 0});
  // Radius candidates: (1/1) * 9 for the survivor against (1/3) * 1.
  expect_record(merged({1, 0.0f, {4, 0, 0}}, {3, 0.0f, {0, 0, 0}}), 4, 9.0f, {1, 0, 0});
  EXPECT_EQ(merged({65000, 0.0f, {1, 1, 1}}, {1000, 0.0f, {1, 1, 1}}).count, 65535);
  // The center moves from the larger cluster, or from the survivor on a tie:
  // 0.1 + 0.5 * (0.3 - 0.1) and 0.3 + 0.5 * (0.1 - 0.3) round apart.
  EXPECT_FLOAT_BITS(0.20000002f,
                    merged({1, 0.0f, {0.1f, 0, 0}}, {1, 0.0f, {0.3f, 0, 0}}).center[0]);
  EXPECT_FLOAT_BITS(merged({2, 0.0f, {0.1f, 0, 0}}, {1, 0.0f, {0.3f, 0, 0}}).center[0],
                    merged({1, 0.0f, {0.3f, 0, 0}}, {2, 0.0f, {0.1f, 0, 0}}).center[0]);
}

TEST(Learning, PairSearchKeepsTheFirstOfEqualDistances) {
  reset_squared_euclidean();
  for (float x : {0.0f, 100.0f, 200.0f, 201.0f, 300.0f, 400.0f, 401.0f, 500.0f, 600.0f}) learn(x);
  learn(5000.0f);  // (2, 3) and (5, 6) are both 1 apart: (2, 3) comes first
  EXPECT_EQ(cluster_table[2].count, 2);
  EXPECT_EQ(cluster_table[5].count, 1);
  EXPECT_EQ(spare_slot, 3);
  learn(6000.0f);  // now (5, 6) is the closest pair
  EXPECT_EQ(cluster_table[5].count, 2);
  EXPECT_EQ(spare_slot, 6);
}

TEST(Learning, NaNDistancesOnlyWinAsTheFirstPair) {
  // With the reset selectors a zero vector has no angle: its distances are NaN.
  engine_reset();
  for (float x : {1.0f, 2.0f, 3.0f, 4.0f, 0.0f, 6.0f, 7.0f, 8.0f, 9.0f}) learn(x, x * x, x);
  learn(8.0f, 64.5f, 8.0f);  // slot 4 (zero) never wins; slot 7 does
  EXPECT_TRUE(std::isnan(pair_distance[pair_index(4, 5)]));
  EXPECT_EQ(cluster_table[4].count, 1);
  EXPECT_EQ(cluster_table[7].count, 2);
  EXPECT_EQ(spare_slot, 9);

  engine_reset();
  learn(0.0f);
  for (float x : {2.0f, 3.0f, 4.0f, 5.0f, 6.0f, 7.0f, 8.0f, 9.0f, 10.0f}) learn(x, 1.0f);
  EXPECT_TRUE(std::isnan(closest_distance));  // the NaN of (0, 1) held the record
  EXPECT_EQ(cluster_table[0].count, 2);
  EXPECT_EQ(spare_slot, 1);
}

// Two large clusters side by side in slots 0 and 1, every other slot far away
// with the given count (slot 7 gets `smallest`), slot 9 the spare.
void large_pair_model(std::uint16_t count_a, std::uint16_t count_b, std::uint16_t smallest) {
  fill_table_far_apart();
  cluster_table[0] = {count_a, 1.0f, {0.0f, 0.0f, 0.0f}};
  cluster_table[1] = {count_b, 1.0f, {1.0f, 0.0f, 0.0f}};
  for (int k = 2; k < 9; ++k) cluster_table[k].count = k == 7 ? smallest : 30;
}

// Two large clusters (above 50) as the closest pair: the smallest cluster is
// emptied for the new signal if it holds at most 19, else the signal is
// dropped; a cluster of 50 is not large, and the pair merges.
TEST(Learning, TheLargeClusterRule) {
  enum Outcome { replaced, dropped, merging };
  for (const auto& [count_a, count_b, smallest, outcome] :
       {std::tuple{51, 60, 19, replaced}, std::tuple{51, 60, 20, dropped},
        std::tuple{50, 100, 19, merging}, std::tuple{100, 50, 19, merging}}) {
    SCOPED_TRACE(testing::Message() << count_a << ", " << count_b << ", smallest " << smallest);
    large_pair_model(static_cast<std::uint16_t>(count_a), static_cast<std::uint16_t>(count_b),
                     static_cast<std::uint16_t>(smallest));
    learn(100000.0f);
    EXPECT_FLOAT_BITS(100000.0f, cluster_table[9].center[0]);  // a single-signal cluster
    EXPECT_EQ(cluster_table[0].count, outcome == merging ? 150 : count_a);
    EXPECT_EQ(spare_slot, outcome == replaced ? 7 : outcome == dropped ? 9 : 1);
    EXPECT_EQ(cluster_table[7].count, outcome == replaced ? 1 : smallest);
    EXPECT_FLOAT_BITS(outcome == replaced ? kEmptySlotCenter : 7000.0f, cluster_table[7].center[0]);
    EXPECT_EQ(smallest_count, outcome == replaced ? 65535 : smallest);
    EXPECT_EQ(smallest_count_slot, 7);
  }
}

// Each pass against every pair measured anew from the centers the pass saw, while the
// selectors change one at a time between passes: a pass measures again only what changed,
// and must notice new selectors.
TEST(Learning, EveryPassGivesTheDistancesOfItsSelectors) {
  fill_table_far_apart();
  learn(1e6f);
  for (const auto& [primary, secondary] :
       {std::pair{0, 2}, {0, 2}, {4, 2}, {0, 2}, {0, 1}, {0, 2}}) {
    measure_primary = static_cast<std::uint8_t>(primary);
    measure_secondary = static_cast<std::uint8_t>(secondary);
    ClusterRecord seen[kClusterSlots];
    std::copy(cluster_table, cluster_table + kClusterSlots, seen);
    seen[spare_slot] = {seen[spare_slot].count, seen[spare_slot].radius, {2e6f, 0.0f, 0.0f}};
    learn(2e6f);
    float work[3];
    for (std::uint8_t i = 0; i < kClusterSlots; ++i) {
      for (std::uint8_t j = i + 1; j < kClusterSlots; ++j) {
        const float d = measure_distance(1, measure_secondary, measure_primary, seen[i].center,
                                         seen[j].center, work, 3);
        EXPECT_FLOAT_BITS(d, pair_distance[pair_index(i, j)])
            << "pair " << int(i) << ", " << int(j) << " selectors " << primary << ", " << secondary;
      }
    }
  }
}

TEST(Learning, APassTakingTheLastPairFromTheCacheLeavesItsWorkspace) {
  large_pair_model(51, 60, 20);  // both large, the smallest kept: signals are dropped
  cluster_table[9] = {30, 0.0f, {9000.0f, 0.0f, 0.0f}};
  spare_slot = 5;
  learn(100000.0f);
  learn(200000.0f);  // only slot 5 changed
  float work[3];
  measure_distance(1, 2, 2, cluster_table[8].center, cluster_table[9].center, work, 3);
  for (int c = 0; c < 3; ++c) EXPECT_FLOAT_BITS(work[c], distance_workspace[c]) << c;
}

TEST(Learning, SmallestCountTrackerCarriesAcrossPasses) {
  fill_table_far_apart();
  learn(1.0f);  // merges slots 0 and 9: the tracker saw 1 at slot 0 first
  EXPECT_EQ(cluster_table[0].count, 2);
  EXPECT_EQ(smallest_count, 65535);  // the merge involved the tracked slot
  learn(2.0f);                       // joins slot 0 again (count 3); the tracker now holds slot 1
  EXPECT_EQ(smallest_count, 1);
  EXPECT_EQ(smallest_count_slot, 1);
  EXPECT_EQ(cluster_table[0].count, 3);
}

TEST(Learning, SlotNumbersBeyondTheTableCountAsTheLastSlot) {
  for (std::uint8_t beyond : {10, 200}) {
    fill_table_far_apart();
    spare_slot = beyond;
    learn(1.0f);  // into slot 9, merged into slot 0
    SCOPED_TRACE(int(beyond));
    EXPECT_EQ(cluster_table[0].count, 2);
    EXPECT_FLOAT_BITS(0.5f, cluster_table[0].center[0]);
    EXPECT_EQ(spare_slot, 9);
  }
  large_pair_model(51, 60, 30);
  smallest_count = 0;  // nothing is smaller: the tracker keeps the loaded slot number
  smallest_count_slot = 250;
  learn(100000.0f);  // both large: the smallest cluster, taken as slot 9, is emptied
  EXPECT_EQ(smallest_count_slot, 9);
  EXPECT_FLOAT_BITS(kEmptySlotCenter, cluster_table[9].center[0]);
}

}  // namespace
}  // namespace vtl
