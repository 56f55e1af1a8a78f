#include "engine/snapshot.h"

#include <algorithm>

#include "engine/interface.h"
#include "engine/staging.h"

namespace vtl {

namespace {

// One field list for both directions, so that capture and restore cannot
// disagree about what an engine is.
template <typename Copy>
void for_each_field(EngineSnapshot& s, Copy copy) {
  copy(s.cluster_table, cluster_table);
  copy(s.pair_distance, pair_distance);
  copy(s.smallest_count, smallest_count);
  copy(s.smallest_count_slot, smallest_count_slot);
  copy(s.filled_slots, filled_slots);
  copy(s.spare_slot, spare_slot);
  copy(s.measure_primary, measure_primary);
  copy(s.measure_secondary, measure_secondary);
  copy(s.closest_distance, closest_distance);
  copy(s.merge_saved_center, merge_saved_center);
  copy(s.distance_workspace, distance_workspace);
  copy(s.staged_signal, staged_signal);
  copy(s.frame_length, frame_length);
  copy(s.vector_length, vector_length);
  copy(s.engine_status, engine_status);
  copy(s.init_done, init_done);
  copy(s.learn_count, learn_count);
  copy(s.sensitivity, sensitivity);
  copy(s.value_scratch, value_scratch);
}

template <typename T>
void assign(T& to, const T& from) {
  to = from;
}

template <typename T, std::size_t N>
void assign(T (&to)[N], const T (&from)[N]) {
  std::copy(from, from + N, to);
}

}  // namespace

void capture_engine(EngineSnapshot& snapshot) {
  for_each_field(snapshot, [](auto& field, auto& global) { assign(field, global); });
}

void restore_engine(const EngineSnapshot& snapshot) {
  // The snapshot is only read: the const_cast lets both directions share one list.
  for_each_field(const_cast<EngineSnapshot&>(snapshot),
                 [](auto& field, auto& global) { assign(global, field); });
}

}  // namespace vtl
