#pragma once
// The engine's whole model: a table of 10 clusters, the learning bookkeeping,
// the two distance selectors and the scratch areas of learning and scoring.
// Every piece is a process-wide global of fixed size; nothing is allocated.

#include <cstdint>

namespace vtl {

struct ClusterRecord {
  std::uint16_t count;  // signals merged into the cluster; 1 for a single signal
  float radius;         // spread of the cluster; 0 for a single signal
  float center[3];      // centroid, in signal units
};

inline constexpr unsigned kClusterSlots = 10;
inline constexpr unsigned kPairCount = 45;  // unordered pairs of 10 slots
inline constexpr unsigned kSignalLength = 3;

// Centers written into a slot that learning empties (bit pattern 477FFF00).
inline constexpr float kEmptySlotCenter = 65535.0f;
// smallest_count when no smallest count is known.
inline constexpr std::uint16_t kSmallestCountUnknown = 65535;

extern ClusterRecord cluster_table[kClusterSlots];
extern float pair_distance[kPairCount];
extern std::uint16_t smallest_count;
extern std::uint8_t smallest_count_slot;
extern std::uint8_t filled_slots;
extern std::uint8_t spare_slot;
extern std::uint8_t measure_primary;
extern std::uint8_t measure_secondary;
extern float closest_distance;
extern float merge_saved_center[kSignalLength];
extern float distance_workspace[kSignalLength];
extern float staged_signal[kSignalLength];
extern std::uint16_t frame_length;   // samples per frame of the spectrum routines
extern std::uint16_t vector_length;  // bins of a ready-made spectrum

// Writes the reset values: every slot {1, 0.0, (0, 0, 0)}, no pair distances,
// selectors 4 and 1, spare slot 9, nothing filled, smallest count unknown.
void engine_reset();
// The same reset, but the two measure selectors keep their values. Returns 1.
std::int32_t engine_reset_keep_measures();

// Position of the unordered slot pair (i, j) in pair_distance; 0 when i == j.
constexpr std::uint32_t pair_index(std::uint8_t i, std::uint8_t j) {
  const std::uint32_t a = i;
  const std::uint32_t b = j;
  if (a > b) return a * (a - 1) / 2 + b;
  if (a < b) return b * (b - 1) / 2 + a;
  return 0;
}

// Slot numbers loaded from a state or knowledge file are not checked there; every
// use as a table index goes through this, which maps numbers beyond the table to
// the last slot so that no access leaves cluster_table.
inline unsigned slot_in_table(std::uint8_t slot) {
  return slot < kClusterSlots ? slot : kClusterSlots - 1;
}

}  // namespace vtl
