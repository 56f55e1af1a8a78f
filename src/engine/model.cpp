#include "engine/model.h"

namespace vtl {

ClusterRecord cluster_table[kClusterSlots];
float pair_distance[kPairCount];
std::uint16_t smallest_count;
std::uint8_t smallest_count_slot;
std::uint8_t filled_slots;
std::uint8_t spare_slot;
std::uint8_t measure_primary;
std::uint8_t measure_secondary;
float closest_distance;
float merge_saved_center[kSignalLength];
float distance_workspace[kSignalLength];
float staged_signal[kSignalLength];
std::uint16_t frame_length;
std::uint16_t vector_length;

namespace {

void reset_table_and_bookkeeping() {
  smallest_count = kSmallestCountUnknown;
  for (float& d : pair_distance) d = 0.0f;
  spare_slot = kClusterSlots - 1;
  filled_slots = 0;
  smallest_count_slot = 0;
  for (ClusterRecord& slot : cluster_table) {
    slot.count = 1;
    slot.radius = 0.0f;
    slot.center[0] = 0.0f;
    slot.center[1] = 0.0f;
    slot.center[2] = 0.0f;
  }
}

}  // namespace

void engine_reset() {
  reset_table_and_bookkeeping();
  measure_primary = 4;
  measure_secondary = 1;
}

std::int32_t engine_reset_keep_measures() {
  reset_table_and_bookkeeping();
  return 1;
}

}  // namespace vtl
