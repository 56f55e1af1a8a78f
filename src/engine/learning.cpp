#include "engine/learning.h"

#include <bit>

#include "distance/measure.h"
#include "engine/center_norms.h"

namespace vtl {

namespace {

constexpr std::uint8_t kTableFull = kClusterSlots - 1;  // filled_slots once the table is full

void copy_center(float* center, const float* signal) {
  center[0] = signal[0];
  center[1] = signal[1];
  center[2] = signal[2];
}

struct SlotPair {
  std::uint8_t a;
  std::uint8_t b;
};

// The pair distances of the last pass and the centers and selectors they were
// measured with. A pass measures again only the pairs that involve a center
// that changed since (the new signal in the spare slot, the survivor of a
// merge), and takes the others from here: the same values, since a distance
// depends on nothing but the two centers and the selectors. Centers are
// compared bit for bit, so anything that changed the model in between (a load,
// a knowledge import, a caller writing the table) is noticed.
struct PairCache {
  bool valid = false;
  std::uint8_t first_selector = 0;
  std::uint8_t second_selector = 0;
  std::uint32_t center_bits[kClusterSlots][kSignalLength] = {};
  float distance[kPairCount] = {};
};

PairCache pair_cache;

std::uint32_t bits_of(float x) { return std::bit_cast<std::uint32_t>(x); }

// Marks the slots whose centers differ from those the cache was measured with
// (all of them when the cache cannot be used), and takes the current centers.
void find_changed_centers(bool* changed) {
  const bool usable = pair_cache.valid && pair_cache.first_selector == measure_secondary &&
                      pair_cache.second_selector == measure_primary;
  for (unsigned k = 0; k < kClusterSlots; ++k) {
    changed[k] = !usable;
    for (unsigned c = 0; c < kSignalLength; ++c) {
      const std::uint32_t now = bits_of(cluster_table[k].center[c]);
      changed[k] = changed[k] || pair_cache.center_bits[k][c] != now;
      pair_cache.center_bits[k][c] = now;
    }
  }
  pair_cache.valid = true;
  pair_cache.first_selector = measure_secondary;
  pair_cache.second_selector = measure_primary;
}

bool writes_workspace(std::uint8_t selector) { return selector != 3 && selector != 4; }

// What measuring the last pair, (8, 9), leaves in the workspace: the absolute
// coordinate differences when either measure is element-wise, else nothing.
void leave_last_pair_workspace() {
  if (!writes_workspace(measure_secondary) && !writes_workspace(measure_primary)) return;
  for (unsigned c = 0; c < kSignalLength; ++c) {
    float difference = cluster_table[8].center[c] - cluster_table[9].center[c];
    if (difference < 0.0f) difference = -difference;
    distance_workspace[c] = difference;
  }
}

// Tracks the smallest count of the non-spare slots, records every pair
// distance and returns the closest pair: the first pair of the scan among
// equal distances, and a NaN distance never replaces the record (except the
// first pair's, which stays the record for the whole pass).
SlotPair scan_pairs() {
  bool changed[kClusterSlots];
  find_changed_centers(changed);
  float norms[kClusterSlots];
  for (unsigned k = 0; k < kClusterSlots; ++k) norms[k] = center_norm(k);
  SlotPair closest{0, 1};
  float closest_so_far = 0.0f;  // closest_distance, kept local during the scan
  for (std::uint8_t i = 0; i < kClusterSlots; ++i) {
    if (i != spare_slot && cluster_table[i].count < smallest_count) {
      smallest_count = cluster_table[i].count;
      smallest_count_slot = i;
    }
    for (std::uint8_t j = i + 1; j < kClusterSlots; ++j) {
      const std::uint32_t index = pair_index(i, j) & 0xFFFFu;
      if (changed[i] || changed[j]) {
        pair_cache.distance[index] = combined_distance_known_norms(
            measure_secondary, measure_primary, cluster_table[i].center, cluster_table[j].center,
            norms[i], norms[j], distance_workspace, kSignalLength);
      }
      const float d = pair_cache.distance[index];
      pair_distance[index] = d;
      if ((i == 0 && j == 1) || closest_so_far > d) {
        closest_so_far = d;
        closest = {i, j};
      }
    }
  }
  closest_distance = closest_so_far;
  // The workspace as measuring the last pair would have left it.
  if (!changed[8] && !changed[9]) leave_last_pair_workspace();
  return closest;
}

}  // namespace

void empty_slot(ClusterRecord* slot) {
  slot->count = 1;
  slot->radius = 0.0f;
  slot->center[0] = kEmptySlotCenter;
  slot->center[1] = kEmptySlotCenter;
  slot->center[2] = kEmptySlotCenter;
}

void forget_pair_distances() { pair_cache.valid = false; }

void learning_update(const float* signal) {
  if (filled_slots < kTableFull) {
    copy_center(cluster_table[filled_slots].center, signal);
    ++filled_slots;
    return;
  }
  // Slot numbers loaded from a file are not checked there; numbers beyond the
  // table are taken as its last slot.
  spare_slot = static_cast<std::uint8_t>(slot_in_table(spare_slot));
  smallest_count_slot = static_cast<std::uint8_t>(slot_in_table(smallest_count_slot));
  copy_center(cluster_table[spare_slot].center, signal);

  const SlotPair closest = scan_pairs();
  ClusterRecord& a = cluster_table[closest.a];
  ClusterRecord& b = cluster_table[closest.b];
  if (a.count > kLargeClusterAbove && b.count > kLargeClusterAbove) {
    // Both large: drop the smallest cluster if it is small, else the new signal.
    if (cluster_table[smallest_count_slot].count > kKeepSmallestAbove) return;
    empty_slot(&cluster_table[smallest_count_slot]);
    spare_slot = smallest_count_slot;
    smallest_count = kSmallestCountUnknown;
    return;
  }
  if (smallest_count_slot == closest.a || smallest_count_slot == closest.b) {
    smallest_count = kSmallestCountUnknown;
  }
  merge_clusters(&a, &b);
  spare_slot = closest.b;
}

std::int32_t merge_clusters(ClusterRecord* a, ClusterRecord* b) {
  merge_saved_center[0] = a->center[0];
  merge_saved_center[1] = a->center[1];
  merge_saved_center[2] = a->center[2];

  const float na = static_cast<float>(a->count);
  const float nb = static_cast<float>(b->count);
  const std::int32_t count_sum = static_cast<std::int32_t>(a->count) + b->count;
  const float total = static_cast<float>(count_sum);
  // The new center moves from the center of the larger cluster.
  if (na >= nb) {
    const float w = nb / total;
    for (unsigned c = 0; c < kSignalLength; ++c) {
      a->center[c] = a->center[c] + w * (b->center[c] - a->center[c]);
    }
  } else {
    const float w = na / total;
    for (unsigned c = 0; c < kSignalLength; ++c) {
      a->center[c] = b->center[c] + w * (a->center[c] - b->center[c]);
    }
  }

  const float moved = measure_distance(1, measure_primary, measure_secondary, a->center,
                                       merge_saved_center, distance_workspace, kSignalLength);
  const float spread = measure_distance(1, measure_primary, measure_secondary, a->center, b->center,
                                        distance_workspace, kSignalLength);
  const float radius_a = (1.0f / na) * moved + a->radius;
  const float radius_b = (1.0f / nb) * spread + b->radius;
  a->radius = radius_a > radius_b ? radius_a : radius_b;  // equal or NaN: b's
  a->count = static_cast<std::uint16_t>(count_sum > 65535 ? 65535 : count_sum);
  empty_slot(b);
  return 1;
}

}  // namespace vtl
