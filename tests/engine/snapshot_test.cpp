// Capturing and restoring the engine's globals: every global travels, and
// engines that take turns on the globals compute what they would alone.

#include "engine/snapshot.h"

#include <gtest/gtest.h>

#include <vector>

#include "engine/interface.h"
#include "engine/knowledge_buffer.h"
#include "engine/staging.h"
#include "test_util.h"

namespace vtl {
namespace {

using test::bits;

// A distinct value in every global, so that a field missing from the list shows.
void scribble_globals() {
  for (unsigned k = 0; k < kClusterSlots; ++k) {
    cluster_table[k] = {static_cast<std::uint16_t>(100 + k), 0.5f + k, {1.0f * k, 2.0f, 3.0f}};
  }
  for (unsigned k = 0; k < kPairCount; ++k) pair_distance[k] = 0.25f * k;
  smallest_count = 11;
  smallest_count_slot = 12;
  filled_slots = 13;
  spare_slot = 14;
  measure_primary = 15;
  measure_secondary = 16;
  closest_distance = 17.5f;
  for (unsigned c = 0; c < kSignalLength; ++c) {
    merge_saved_center[c] = 18.0f + c;
    distance_workspace[c] = 21.0f + c;
    staged_signal[c] = 24.0f + c;
  }
  frame_length = 27;
  vector_length = 28;
  engine_status = 29;
  init_done = 30;
  learn_count = 31;
  sensitivity = 32.5f;
  value_scratch = 33.5f;
}

void expect_start_values() {
  for (const ClusterRecord& slot : cluster_table) {
    EXPECT_EQ(slot.count, 0);
    for (float v : {slot.radius, slot.center[0], slot.center[1], slot.center[2]}) {
      EXPECT_EQ(bits(v), 0u);
    }
  }
  for (float d : pair_distance) EXPECT_EQ(bits(d), 0u);
  for (int v : {smallest_count + 0, smallest_count_slot + 0, filled_slots + 0, spare_slot + 0,
                measure_primary + 0, measure_secondary + 0, frame_length + 0, vector_length + 0}) {
    EXPECT_EQ(0, v);
  }
  for (float v : {closest_distance, value_scratch, merge_saved_center[2], distance_workspace[2],
                  staged_signal[2]}) {
    EXPECT_EQ(bits(v), 0u);
  }
  EXPECT_EQ(0u, engine_status);
  EXPECT_EQ(0, init_done);
  EXPECT_EQ(0u, learn_count);
  EXPECT_FLOAT_BITS(1.0f, sensitivity);
}

TEST(EngineSnapshot, EveryGlobalTravels) {
  scribble_globals();
  EngineSnapshot scribbled;
  capture_engine(scribbled);
  restore_engine(EngineSnapshot{});
  expect_start_values();

  restore_engine(scribbled);
  EngineSnapshot again;
  capture_engine(again);
  for (unsigned k = 0; k < kClusterSlots; ++k) {
    EXPECT_EQ(again.cluster_table[k].count, 100 + k);
    EXPECT_FLOAT_BITS(0.5f + k, again.cluster_table[k].radius);
    EXPECT_FLOAT_BITS(1.0f * k, again.cluster_table[k].center[0]);
  }
  EXPECT_FLOAT_BITS(0.25f * 44, again.pair_distance[44]);
  EXPECT_EQ(11, again.smallest_count);
  EXPECT_EQ(12, again.smallest_count_slot);
  EXPECT_EQ(13, again.filled_slots);
  EXPECT_EQ(14, again.spare_slot);
  EXPECT_EQ(15, again.measure_primary);
  EXPECT_EQ(16, again.measure_secondary);
  EXPECT_FLOAT_BITS(17.5f, again.closest_distance);
  EXPECT_FLOAT_BITS(20.0f, again.merge_saved_center[2]);
  EXPECT_FLOAT_BITS(23.0f, again.distance_workspace[2]);
  EXPECT_FLOAT_BITS(26.0f, again.staged_signal[2]);
  EXPECT_EQ(27, again.frame_length);
  EXPECT_EQ(28, again.vector_length);
  EXPECT_EQ(29u, again.engine_status);
  EXPECT_EQ(30, again.init_done);
  EXPECT_EQ(31u, again.learn_count);
  EXPECT_FLOAT_BITS(32.5f, again.sensitivity);
  EXPECT_FLOAT_BITS(33.5f, again.value_scratch);
}

float signal_value(unsigned i, unsigned c, float scale) {
  return scale * static_cast<float>((i * 7 + c * 3) % 11) + static_cast<float>(c);
}

struct RunResult {
  std::vector<std::uint8_t> similarities;
  float knowledge[kKnowledgeValues];
};

// Learns `n` signals and rates `n` signals; `between` runs after each step.
template <typename Between>
RunResult learn_and_detect(EngineSnapshot& engine, unsigned n, float scale, Between between) {
  RunResult run{};
  for (unsigned i = 0; i < 2 * n; ++i) {
    restore_engine(engine);
    const float signal[3] = {signal_value(i, 0, scale), signal_value(i, 1, scale),
                             signal_value(i, 2, scale)};
    std::uint8_t similarity = 0;
    if (i < n) {
      vtl_anomalydetection_learn(signal);
    } else {
      vtl_anomalydetection_detect(signal, &similarity);
      run.similarities.push_back(similarity);
    }
    capture_engine(engine);
    between();
  }
  restore_engine(engine);
  export_knowledge_buffer(run.knowledge);
  return run;
}

EngineSnapshot fresh_engine() {
  restore_engine(EngineSnapshot{});
  vtl_anomalydetection_init();
  EngineSnapshot engine;
  capture_engine(engine);
  return engine;
}

TEST(EngineSnapshot, InterleavedEnginesMatchEnginesAlone) {
  EngineSnapshot alone = fresh_engine();
  const RunResult expected = learn_and_detect(alone, 40, 0.1f, [] {});

  EngineSnapshot mine = fresh_engine();
  EngineSnapshot other = fresh_engine();
  unsigned other_step = 0;
  // After every step of `mine`, the other engine learns a signal of its own.
  const RunResult interleaved = learn_and_detect(mine, 40, 0.1f, [&] {
    restore_engine(other);
    const float signal[3] = {5.0f * other_step, -3.0f, 1.0f};
    vtl_anomalydetection_learn(signal);
    ++other_step;
    capture_engine(other);
  });

  EXPECT_EQ(expected.similarities, interleaved.similarities);
  for (unsigned k = 0; k < kKnowledgeValues; ++k) {
    EXPECT_FLOAT_BITS(expected.knowledge[k], interleaved.knowledge[k]);
  }
  EXPECT_EQ(other.learn_count, 80u);
}

}  // namespace
}  // namespace vtl
