// Capturing and restoring the engine's globals: every global travels, and
// engines that take turns on the globals compute what they would alone.

#include "engine/snapshot.h"

#include <gtest/gtest.h>

#include <iterator>
#include <vector>

#include "engine/interface.h"
#include "engine/knowledge_buffer.h"
#include "engine/staging.h"
#include "test_util.h"

namespace vtl {
namespace {

// A value of its own in every global, scaled by s, so that a field missing
// from the list shows; s = 0 gives the values of a process just started.
void scribble_globals(unsigned s) {
  const auto f = static_cast<float>(s);
  for (unsigned k = 0; k < kClusterSlots; ++k) {
    cluster_table[k] = {static_cast<std::uint16_t>((100 + k) * s),
                        (0.5f + k) * f,
                        {(1.0f + k) * f, 2.0f * f, (3.0f + k) * f}};
  }
  for (unsigned k = 0; k < kPairCount; ++k) pair_distance[k] = 0.25f * (k + 1) * f;
  smallest_count = static_cast<std::uint16_t>(11 * s);
  smallest_count_slot = static_cast<std::uint8_t>(12 * s);
  filled_slots = static_cast<std::uint8_t>(13 * s);
  spare_slot = static_cast<std::uint8_t>(14 * s);
  measure_primary = static_cast<std::uint8_t>(15 * s);
  measure_secondary = static_cast<std::uint8_t>(16 * s);
  closest_distance = 17.5f * f;
  for (unsigned c = 0; c < kSignalLength; ++c) {
    merge_saved_center[c] = (18.0f + c) * f;
    distance_workspace[c] = (21.0f + c) * f;
    staged_signal[c] = (24.0f + c) * f;
  }
  frame_length = static_cast<std::uint16_t>(27 * s);
  vector_length = static_cast<std::uint16_t>(28 * s);
  engine_status = 29 * s;
  init_done = static_cast<std::uint8_t>(30 * s);
  learn_count = 31 * s;
  sensitivity = 1.0f + 32.5f * f;
  value_scratch = 33.5f * f;
}

void expect_globals(unsigned s) {
  const auto f = static_cast<float>(s);
  for (unsigned k = 0; k < kClusterSlots; ++k) {
    EXPECT_EQ(cluster_table[k].count, (100 + k) * s) << k;
    EXPECT_FLOAT_BITS((0.5f + k) * f, cluster_table[k].radius) << k;
    EXPECT_FLOAT_BITS((1.0f + k) * f, cluster_table[k].center[0]) << k;
    EXPECT_FLOAT_BITS(2.0f * f, cluster_table[k].center[1]) << k;
    EXPECT_FLOAT_BITS((3.0f + k) * f, cluster_table[k].center[2]) << k;
  }
  for (unsigned k = 0; k < kPairCount; ++k)
    EXPECT_FLOAT_BITS(0.25f * (k + 1) * f, pair_distance[k]);
  const unsigned integers[] = {smallest_count,  smallest_count_slot, filled_slots, spare_slot,
                               measure_primary, measure_secondary,   frame_length, vector_length,
                               engine_status,   init_done,           learn_count};
  const unsigned expected_integers[] = {11, 12, 13, 14, 15, 16, 27, 28, 29, 30, 31};
  for (unsigned i = 0; i < std::size(integers); ++i)
    EXPECT_EQ(expected_integers[i] * s, integers[i]) << "integer " << i;
  for (unsigned c = 0; c < kSignalLength; ++c) {
    EXPECT_FLOAT_BITS((18.0f + c) * f, merge_saved_center[c]);
    EXPECT_FLOAT_BITS((21.0f + c) * f, distance_workspace[c]);
    EXPECT_FLOAT_BITS((24.0f + c) * f, staged_signal[c]);
  }
  EXPECT_FLOAT_BITS(17.5f * f, closest_distance);
  EXPECT_FLOAT_BITS(1.0f + 32.5f * f, sensitivity);
  EXPECT_FLOAT_BITS(33.5f * f, value_scratch);
}

// Restoring the snapshot of a process just started and then a captured one
// brings back every global.
TEST(EngineSnapshot, EveryGlobalTravels) {
  scribble_globals(1);
  EngineSnapshot scribbled;
  capture_engine(scribbled);
  restore_engine(EngineSnapshot{});
  expect_globals(0);
  restore_engine(scribbled);
  expect_globals(1);
}

struct RunResult {
  std::vector<std::uint8_t> similarities;
  float knowledge[kKnowledgeValues];
};

// Learns 40 signals and rates 40 more, restoring `engine` before each step and
// capturing it after; `between` runs after each step.
template <typename Between>
RunResult learn_and_detect(EngineSnapshot& engine, Between between) {
  RunResult run{};
  for (unsigned i = 0; i < 80; ++i) {
    restore_engine(engine);
    float signal[3];
    for (unsigned c = 0; c < 3; ++c)
      signal[c] = 0.1f * static_cast<float>((i * 7 + c * 3) % 11) + static_cast<float>(c);
    std::uint8_t similarity = 0;
    if (i < 40) {
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
  const RunResult expected = learn_and_detect(alone, [] {});
  EngineSnapshot mine = fresh_engine();
  EngineSnapshot other = fresh_engine();
  float other_x = 0.0f;
  // After every step of `mine`, the other engine learns a signal of its own.
  const RunResult interleaved = learn_and_detect(mine, [&] {
    restore_engine(other);
    const float signal[3] = {other_x += 5.0f, -3.0f, 1.0f};
    vtl_anomalydetection_learn(signal);
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
