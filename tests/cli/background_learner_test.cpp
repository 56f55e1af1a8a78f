// Learning a file's signals on a second thread, with the radii replayed on the
// caller's, must leave the engine exactly as learning each signal in turn.

#include "cli/background_learner.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "engine/interface.h"
#include "engine/learning.h"
#include "engine/model.h"
#include "engine/snapshot.h"

namespace vtl {
namespace {

std::vector<float> random_signals(unsigned seed, unsigned count) {
  std::mt19937 random(seed);
  std::normal_distribution<float> noise(0.0f, 0.2f);
  std::vector<float> values(3 * static_cast<std::size_t>(count));
  for (std::size_t i = 0; i < values.size(); ++i) {
    values[i] = static_cast<float>((i / 3 + i) % 3) + noise(random);
    if (random() % 500 == 0) values[i] = std::numeric_limits<float>::quiet_NaN();
    if (random() % 700 == 0) values[i] = -std::numeric_limits<float>::infinity();
  }
  return values;
}

// The model to start from: the reset one, with the given selectors, and
// optionally large clusters that make the learning drop signals and clusters.
void start(std::uint8_t primary, std::uint8_t secondary, bool large_clusters) {
  restore_engine(EngineSnapshot{});
  vtl_anomalydetection_init();
  measure_primary = primary;
  measure_secondary = secondary;
  if (!large_clusters) return;
  for (unsigned k = 0; k < kClusterSlots - 1; ++k) {
    cluster_table[k].count = static_cast<std::uint16_t>(40 + 3 * k);
    cluster_table[k].radius = 0.25f * static_cast<float>(k);
    for (unsigned c = 0; c < 3; ++c) cluster_table[k].center[c] = static_cast<float>((k + c) % 4);
  }
  filled_slots = 9;
}

void expect_same_engine(const EngineSnapshot& a, const EngineSnapshot& b) {
  // Memory compared, so that NaN payloads and the signs of zeros count.
  EXPECT_EQ(std::memcmp(a.cluster_table, b.cluster_table, sizeof a.cluster_table), 0);
  EXPECT_EQ(std::memcmp(a.pair_distance, b.pair_distance, sizeof a.pair_distance), 0);
  EXPECT_EQ(std::bit_cast<std::uint32_t>(a.closest_distance),
            std::bit_cast<std::uint32_t>(b.closest_distance));
  EXPECT_EQ(std::memcmp(a.merge_saved_center, b.merge_saved_center, sizeof a.merge_saved_center),
            0);
  EXPECT_EQ(std::memcmp(a.distance_workspace, b.distance_workspace, sizeof a.distance_workspace),
            0);
  EXPECT_EQ(a.smallest_count, b.smallest_count);
  EXPECT_EQ(a.smallest_count_slot, b.smallest_count_slot);
  EXPECT_EQ(a.spare_slot, b.spare_slot);
  EXPECT_EQ(a.learn_count, b.learn_count);
}

TEST(BackgroundLearner, LearnsExactlyAsEachSignalInTurn) {
  struct Case {
    std::uint8_t primary, secondary;
    bool large_clusters;
    unsigned signals, announced;  // learned, and the count the learner was made for
    bool finish;
  };
  // The reset measures either way round, other measures (whose merges are
  // measured on the learning thread), drops of signals and of clusters, runs
  // that end inside a batch and on its last signal, a short run learned on the
  // caller's thread, and a learner that goes without finish() (a reading error
  // ends the run early) and finishes the signals handed over, radii included.
  const Case cases[] = {{4, 1, false, 20000, 20000, true},
                        {1, 4, true, 9 * kSignalsPerBatch, 9 * kSignalsPerBatch, true},
                        {2, 2, true, 12345, 12345, true},
                        {3, 5, false, 7000, 7000, true},
                        {4, 1, true, 100, 100, true},
                        {4, 1, true, 6000, 9000, false}};
  unsigned seed = 0;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.signals);
    const std::vector<float> values = random_signals(++seed, c.signals);
    start(c.primary, c.secondary, c.large_clusters);
    for (unsigned s = 0; s < c.signals; ++s) vtl_anomalydetection_learn(&values[3 * s]);
    EngineSnapshot in_turn;
    capture_engine(in_turn);

    start(c.primary, c.secondary, c.large_clusters);
    {
      const DeferredPairDistances run_of_signals;  // as the front end learns a file
      BackgroundLearner learner(static_cast<std::int32_t>(c.announced));
      for (unsigned s = 0; s < c.signals; ++s) learner.learn(&values[3 * s]);
      if (c.finish) learner.finish();
    }
    EngineSnapshot threaded;
    capture_engine(threaded);
    expect_same_engine(threaded, in_turn);
  }
}

}  // namespace
}  // namespace vtl
