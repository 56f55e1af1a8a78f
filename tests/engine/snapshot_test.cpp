// Capturing and restoring the engine's globals: every global travels, and
// engines that take turns on the globals compute what they would alone.

#include "engine/snapshot.h"

#include <gtest/gtest.h>

#include <type_traits>
#include <vector>

#include "engine/interface.h"
#include "engine/knowledge_buffer.h"
#include "engine/staging.h"
#include "test_util.h"

namespace vtl {
namespace {

// Calls visit(global, value) for every global (arrays element by element)
// with a value of its own, scaled by s, so that a field missing from the
// snapshot shows; s = 0 gives the values of a process just started.
template <typename Visit>
void each_global(unsigned s, Visit visit) {
  const auto f = static_cast<float>(s);
  for (unsigned k = 0; k < kClusterSlots; ++k) {
    visit(cluster_table[k].count, (100 + k) * s);
    visit(cluster_table[k].radius, (0.5f + k) * f);
    for (unsigned c = 0; c < 3; ++c) visit(cluster_table[k].center[c], (1.0f + k + c) * f);
  }
  for (unsigned k = 0; k < kPairCount; ++k) visit(pair_distance[k], 0.25f * (k + 1) * f);
  for (unsigned c = 0; c < kSignalLength; ++c) {
    visit(merge_saved_center[c], (18.0f + c) * f);
    visit(distance_workspace[c], (21.0f + c) * f);
    visit(staged_signal[c], (24.0f + c) * f);
  }
  unsigned value = 11;
  const auto integer = [&](auto& global) { visit(global, value++ * s); };
  integer(smallest_count);
  integer(smallest_count_slot);
  integer(filled_slots);
  integer(spare_slot);
  integer(measure_primary);
  integer(measure_secondary);
  integer(frame_length);
  integer(vector_length);
  integer(engine_status);
  integer(init_done);
  integer(learn_count);
  visit(closest_distance, 17.5f * f);
  visit(sensitivity, 1.0f + 32.5f * f);
  visit(value_scratch, 33.5f * f);
}

void scribble_globals(unsigned s) {
  each_global(s, [](auto& global, auto value) {
    global = static_cast<std::remove_reference_t<decltype(global)>>(value);
  });
}

void expect_globals(unsigned s) {
  each_global(s, [](const auto& global, auto value) {
    if constexpr (std::is_same_v<decltype(value), float>) {
      EXPECT_FLOAT_BITS(value, global);
    } else {
      EXPECT_EQ(value, global);
    }
  });
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
