#pragma once
// A copy of every process-wide global of the engine (the model, the interface
// globals and the staging scratch), so that several engines can take turns on
// the one set of globals: restore one engine's snapshot, run, capture it back.

#include <cstdint>

#include "engine/model.h"

namespace vtl {

// Default-constructed, it holds the values of a process that has just started:
// everything zero, sensitivity 1.0.
struct EngineSnapshot {
  // engine/model.h
  ClusterRecord cluster_table[kClusterSlots]{};
  float pair_distance[kPairCount]{};
  std::uint16_t smallest_count = 0;
  std::uint8_t smallest_count_slot = 0;
  std::uint8_t filled_slots = 0;
  std::uint8_t spare_slot = 0;
  std::uint8_t measure_primary = 0;
  std::uint8_t measure_secondary = 0;
  float closest_distance = 0.0f;
  float merge_saved_center[kSignalLength]{};
  float distance_workspace[kSignalLength]{};
  float staged_signal[kSignalLength]{};
  std::uint16_t frame_length = 0;
  std::uint16_t vector_length = 0;
  // engine/interface.h
  std::uint32_t engine_status = 0;
  std::uint8_t init_done = 0;
  std::uint32_t learn_count = 0;
  float sensitivity = 1.0f;
  // engine/staging.h
  float value_scratch = 0.0f;
};

// Copies the engine's globals into `snapshot`.
void capture_engine(EngineSnapshot& snapshot);
// Writes `snapshot` into the engine's globals.
void restore_engine(const EngineSnapshot& snapshot);

}  // namespace vtl
