#include "engine/learning.h"

#include <bit>
#include <cmath>
#include <limits>

#include "base/simd.h"
#if VTL_SIMD_SSE2
#include <xmmintrin.h>
#endif

#include "base/min_max.h"
#include "distance/distance_bounds.h"
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
//
// With the reset selectors a changed pair in a run first gets only bounds,
// which cost no acosf; it is measured exactly when the bounds leave open which
// pair is the closest, and at the latest when pair_distance is written.
constexpr unsigned kBoundLanes = 12;
constexpr unsigned kPaddedPairs = 48;
constexpr float kNoBound = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

struct PairCache {
  bool valid = false;
  std::uint8_t first_selector = 0;
  std::uint8_t second_selector = 0;
  // The centers by coordinate, so that a slot can be measured against four
  // others at once, and their angle norms (the last two lanes are padding).
  float coordinate[kSignalLength][kBoundLanes] = {};
  float norm[kBoundLanes] = {};
  // In the order the pass scans the pairs: (0, 1), (0, 2), ..., (0, 9), (1, 2),
  // ..., (8, 9).
  // A pair is exact or pending: exact, distance holds its distance, bound NaN
  // and upper +infinity; pending, distance holds +infinity, bound a lower
  // bound of its distance (never NaN; -infinity where none is known) and upper
  // an upper bound (+infinity where none is known). The three entries after
  // the last pair are padding, exact at +infinity.
  float distance[kPaddedPairs] = {};
  float bound[kPaddedPairs] = {};
  float upper[kPaddedPairs] = {};
  // The closest pair of the last pass, whose distance becomes closest_distance.
  std::uint8_t closest = 0;
};

PairCache pair_cache;

// Set while the front end learns a run of signals: pair_distance is written
// once at the end of the run, by settle_pair_distances, instead of after each pass.
bool distances_deferred = false;
bool pass_while_deferred = false;

constexpr std::uint8_t kScanFirst[kPairCount] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 1,
                                                 1, 1, 2, 2, 2, 2, 2, 2, 2, 3, 3, 3, 3, 3, 3,
                                                 4, 4, 4, 4, 4, 5, 5, 5, 5, 6, 6, 6, 7, 7, 8};
constexpr std::uint8_t kScanSecond[kPairCount] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 2, 3, 4, 5, 6, 7,
                                                  8, 9, 3, 4, 5, 6, 7, 8, 9, 4, 5, 6, 7, 8, 9,
                                                  5, 6, 7, 8, 9, 6, 7, 8, 9, 7, 8, 9, 8, 9, 9};

constexpr bool scan_tables_follow_the_scan() {
  unsigned p = 0;
  for (unsigned i = 0; i < kClusterSlots; ++i) {
    for (unsigned j = i + 1; j < kClusterSlots; ++j, ++p) {
      if (kScanFirst[p] != i || kScanSecond[p] != j) return false;
    }
  }
  return p == kPairCount;
}
static_assert(scan_tables_follow_the_scan());

std::uint32_t bits_of(float x) { return std::bit_cast<std::uint32_t>(x); }

// The center of slot k as the cache holds it.
void cached_center(unsigned k, float* center) {
  for (unsigned c = 0; c < kSignalLength; ++c) center[c] = pair_cache.coordinate[c][k];
}

// Marks the slots whose centers differ from those the cache was measured with
// (all of them when the cache cannot be used), and takes the current centers.
void find_changed_centers(bool* changed) {
  const bool usable = pair_cache.valid && pair_cache.first_selector == measure_secondary &&
                      pair_cache.second_selector == measure_primary;
  for (unsigned k = 0; k < kClusterSlots; ++k) {
    changed[k] = !usable;
    for (unsigned c = 0; c < kSignalLength; ++c) {
      const float now = cluster_table[k].center[c];
      changed[k] = changed[k] || bits_of(pair_cache.coordinate[c][k]) != bits_of(now);
      pair_cache.coordinate[c][k] = now;
    }
  }
  if (!usable) {
    for (unsigned p = kPairCount; p < kPaddedPairs; ++p) {
      pair_cache.distance[p] = kInfinity;
      pair_cache.bound[p] = kNoBound;
      pair_cache.upper[p] = kInfinity;
    }
  }
  pair_cache.valid = true;
  pair_cache.first_selector = measure_secondary;
  pair_cache.second_selector = measure_primary;
}

bool writes_workspace(std::uint8_t selector) { return selector != 3 && selector != 4; }

// |x - y| coordinate by coordinate, as an element-wise measure of x and y
// leaves it in its work vector.
void leave_absolute_differences(const float* x, const float* y, float* workspace) {
  for (unsigned c = 0; c < kSignalLength; ++c) workspace[c] = negate_if_negative(x[c] - y[c]);
}

// What measuring the last pair, (8, 9), leaves in the workspace: the absolute
// coordinate differences when either measure is element-wise, else nothing.
void leave_last_pair_workspace() {
  if (!writes_workspace(measure_secondary) && !writes_workspace(measure_primary)) return;
  leave_absolute_differences(cluster_table[8].center, cluster_table[9].center, distance_workspace);
}

// The exact distance of the pair at scan position p, measured on the centers
// the cache holds (those of the last pass, even if the table changed since)
// and with a work vector of its own: what the pass leaves in
// distance_workspace is set apart.
float measure_pair(unsigned p) {
  const unsigned i = kScanFirst[p];
  const unsigned j = kScanSecond[p];
  float x[kSignalLength];
  float y[kSignalLength];
  cached_center(i, x);
  cached_center(j, y);
  float work[kSignalLength];
  return combined_distance_known_norms(pair_cache.first_selector, pair_cache.second_selector, x, y,
                                       pair_cache.norm[i], pair_cache.norm[j], work, kSignalLength);
}

void measure_exactly(unsigned p) {
  pair_cache.distance[p] = measure_pair(p);
  pair_cache.bound[p] = kNoBound;
  pair_cache.upper[p] = kInfinity;
}

// Scan position of every pair of slots, either way round (0 on the diagonal,
// which is never used).
struct PairPositions {
  std::uint8_t of[kClusterSlots][kClusterSlots];
};

constexpr PairPositions make_pair_positions() {
  PairPositions positions{};
  for (unsigned p = 0; p < kPairCount; ++p) {
    positions.of[kScanFirst[p]][kScanSecond[p]] = static_cast<std::uint8_t>(p);
    positions.of[kScanSecond[p]][kScanFirst[p]] = static_cast<std::uint8_t>(p);
  }
  return positions;
}

constexpr PairPositions kPairPositions = make_pair_positions();

// Lower and upper bounds of the distances from slot k to every slot (its own
// included, which means nothing), four slots at a time.
void bound_from_slot(unsigned k, float* lower, float* upper) {
  float center[kSignalLength];
  cached_center(k, center);
  for (unsigned first = 0; first < kBoundLanes; first += 4) {
    const float* const others[kSignalLength] = {pair_cache.coordinate[0] + first,
                                                pair_cache.coordinate[1] + first,
                                                pair_cache.coordinate[2] + first};
    angle_manhattan_bounds4(center, pair_cache.norm[k], others, pair_cache.norm + first,
                            lower + first, upper + first);
  }
}

// Remeasures every pair that involves a changed slot: bounds for the reset
// selectors in a run, else the exact distance. A pass usually changes two
// slots (the spare one and the survivor of the last merge), so the pairs are
// found from the slots rather than by testing all 45; a pair of two changed
// slots is measured once, from its lower slot.
void remeasure_changed_pairs(const bool* changed) {
  std::uint8_t slots[kClusterSlots];
  unsigned count = 0;
  for (std::uint8_t k = 0; k < kClusterSlots; ++k) {
    slots[count] = k;
    count += changed[k] ? 1 : 0;
  }
  for (unsigned c = 0; c < count; ++c) {
    pair_cache.norm[slots[c]] = center_norm(slots[c]);
  }
  // Outside a run every distance is written after the pass, so bounds would
  // only add to the exact measurements.
  const bool bounded = distances_deferred && is_angle_manhattan(measure_secondary, measure_primary);
  for (unsigned c = 0; c < count; ++c) {
    const unsigned k = slots[c];
    float lower[kBoundLanes];
    float upper[kBoundLanes];
    if (bounded) bound_from_slot(k, lower, upper);
    for (unsigned other = 0; other < kClusterSlots; ++other) {
      if (other == k || (changed[other] && other < k)) continue;
      const unsigned p = kPairPositions.of[k][other];
      if (bounded) {
        pair_cache.distance[p] = kInfinity;
        pair_cache.bound[p] = lower[other];
        pair_cache.upper[p] = upper[other];
      } else {
        measure_exactly(p);
      }
    }
  }
}

// The smallest value, not NaN, of the padded pair array (+infinity when all
// are NaN). Only the value is used, so the order of the comparisons does not
// matter.
float smallest_of(const float* values) {
#if VTL_SIMD_SSE2
  // min_ps(v, m) is v < m ? v : m, so a NaN v leaves m.
  __m128 smallest = _mm_set1_ps(kInfinity);
  for (unsigned p = 0; p < kPaddedPairs; p += 4) {
    smallest = _mm_min_ps(_mm_loadu_ps(values + p), smallest);
  }
  float lanes[4];
  _mm_storeu_ps(lanes, smallest);
  const float low = lanes[0] < lanes[1] ? lanes[0] : lanes[1];
  const float high = lanes[2] < lanes[3] ? lanes[2] : lanes[3];
  return low < high ? low : high;
#else
  float smallest = kInfinity;
  for (unsigned p = 0; p < kPaddedPairs; ++p) {
    if (values[p] < smallest) smallest = values[p];
  }
  return smallest;
#endif
}

// Bit p set for each of the 45 pairs that can be the closest one when the
// closest distance is at most reach: an exact pair whose distance is at most
// reach, a pending pair whose lower bound is.
std::uint64_t pairs_within(float reach) {
  std::uint64_t found = 0;
#if VTL_SIMD_SSE2
  const __m128 limit = _mm_set1_ps(reach);
  for (unsigned p = 0; p < kPaddedPairs; p += 4) {
    const __m128 exact = _mm_cmple_ps(_mm_loadu_ps(pair_cache.distance + p), limit);
    const __m128 pending = _mm_cmple_ps(_mm_loadu_ps(pair_cache.bound + p), limit);
    found |= static_cast<std::uint64_t>(_mm_movemask_ps(_mm_or_ps(exact, pending))) << p;
  }
#else
  for (unsigned p = 0; p < kPaddedPairs; ++p) {
    if (pair_cache.distance[p] <= reach || pair_cache.bound[p] <= reach) {
      found |= std::uint64_t{1} << p;
    }
  }
#endif
  return found & ((std::uint64_t{1} << kPairCount) - 1);
}

// Bit p set for each pending pair whose bound is at most the given distance.
std::uint64_t pairs_bounded_by(float distance) {
  std::uint64_t found = 0;
#if VTL_SIMD_SSE2
  const __m128 limit = _mm_set1_ps(distance);
  for (unsigned p = 0; p < kPaddedPairs; p += 4) {
    const int mask = _mm_movemask_ps(_mm_cmple_ps(_mm_loadu_ps(pair_cache.bound + p), limit));
    found |= static_cast<std::uint64_t>(mask) << p;
  }
#else
  for (unsigned p = 0; p < kPaddedPairs; ++p) {
    if (pair_cache.bound[p] <= distance) found |= std::uint64_t{1} << p;
  }
#endif
  return found;
}

// The first position whose distance equals the given one, which some pair's
// distance does.
unsigned first_position_of(float distance) {
#if VTL_SIMD_SSE2
  const __m128 wanted = _mm_set1_ps(distance);
  for (unsigned p = 0; p < kPaddedPairs; p += 4) {
    const int mask = _mm_movemask_ps(_mm_cmpeq_ps(_mm_loadu_ps(pair_cache.distance + p), wanted));
    if (mask != 0) return p + static_cast<unsigned>(std::countr_zero(static_cast<unsigned>(mask)));
  }
  return 0;
#else
  unsigned p = 0;
  while (p < kPairCount - 1 && !(pair_cache.distance[p] == distance)) ++p;
  return p;
#endif
}

// The scan keeps the first pair unless a later one is strictly closer, so
// among equal distances the earliest wins, a NaN never wins, and a NaN first
// pair stays the record: when the first pair is not NaN, the result is the
// first position whose distance equals the smallest distance that is not NaN.
// That distance is at most the reach, the smallest exact distance or upper
// bound; only pairs whose distance or lower bound is within the reach can be
// the closest. When one pair alone is, it is the closest, measured or not;
// otherwise those pending are measured, the rest stay pending.
unsigned closest_position() {
  // A pending first pair is NaN only if its lower bound is undefined.
  if (pair_cache.bound[0] == -kInfinity) measure_exactly(0);
  if (std::isnan(pair_cache.distance[0])) return 0;
  const float smallest_upper = smallest_of(pair_cache.upper);
  const float smallest_exact = smallest_of(pair_cache.distance);
  float limit = smallest_exact < smallest_upper ? smallest_exact : smallest_upper;
  const std::uint64_t candidates = pairs_within(limit);
  // One bit alone (has_single_bit would call a popcount routine on x86-64).
  if (candidates != 0 && (candidates & (candidates - 1)) == 0) {
    return static_cast<unsigned>(std::countr_zero(candidates));
  }
  for (std::uint64_t open = candidates; open != 0; open &= open - 1) {
    const unsigned p = static_cast<unsigned>(std::countr_zero(open));
    // Exact pairs, and pairs beyond a pair measured before, are passed over.
    if (!(pair_cache.bound[p] <= limit)) continue;
    measure_exactly(p);
    if (pair_cache.distance[p] < limit) limit = pair_cache.distance[p];
  }
  return first_position_of(smallest_of(pair_cache.distance));
}

// Where each pair of the scan is kept in pair_distance.
struct StoragePositions {
  std::uint8_t of[kPairCount];
};

constexpr StoragePositions make_storage_positions() {
  StoragePositions positions{};
  for (unsigned p = 0; p < kPairCount; ++p) {
    positions.of[p] =
        static_cast<std::uint8_t>(pair_index(kScanFirst[p], kScanSecond[p]) & 0xFFFFu);
  }
  return positions;
}

constexpr StoragePositions kStoragePositions = make_storage_positions();

void write_pair_distances() {
  for (std::uint64_t open = pairs_bounded_by(std::numeric_limits<float>::infinity()); open != 0;
       open &= open - 1) {
    measure_exactly(static_cast<unsigned>(std::countr_zero(open)));
  }
  for (unsigned p = 0; p < kPairCount; ++p)
    pair_distance[kStoragePositions.of[p]] = pair_cache.distance[p];
}

void track_smallest_count() {
  for (std::uint8_t i = 0; i < kClusterSlots; ++i) {
    if (i != spare_slot && cluster_table[i].count < smallest_count) {
      smallest_count = cluster_table[i].count;
      smallest_count_slot = i;
    }
  }
}

// Tracks the smallest count of the non-spare slots, records every pair
// distance and returns the closest pair.
SlotPair scan_pairs() {
  bool changed[kClusterSlots];
  find_changed_centers(changed);
  remeasure_changed_pairs(changed);
  track_smallest_count();
  const unsigned closest = closest_position();
  pair_cache.closest = static_cast<std::uint8_t>(closest);
  if (distances_deferred) {
    pass_while_deferred = true;
  } else {
    closest_distance = pair_cache.distance[closest];
    write_pair_distances();
  }
  leave_last_pair_workspace();
  return {kScanFirst[closest], kScanSecond[closest]};
}

// The radius of a merge: the survivor's candidate if strictly larger, else
// the absorbed cluster's (equal values and NaN give the latter).
float larger_radius(float radius_a, float radius_b) {
  return radius_a > radius_b ? radius_a : radius_b;
}

// Where a merge writes its side results and finds the selectors: the engine's
// globals, or the replay's own (RadiusLedger replays merges beside the updates,
// on another thread). Both run the same code, down to which NaN an operation
// keeps where two meet.
struct MergePlace {
  float* saved_center;
  float* workspace;
  const std::uint8_t* primary;
  const std::uint8_t* secondary;
};

constexpr MergePlace kEngineMerge{merge_saved_center, distance_workspace, &measure_primary,
                                  &measure_secondary};

float replay_saved_center[kSignalLength];
float replay_workspace[kSignalLength];
std::uint8_t replay_primary;
std::uint8_t replay_secondary;
constexpr MergePlace kReplayMerge{replay_saved_center, replay_workspace, &replay_primary,
                                  &replay_secondary};

// The merge's radius with the reset selectors, from the new center of a, its
// old one (the saved center) and b's: (1 / n) x distance + radius is
// monotonic in the distance under rounding, so when the bounds of the two
// candidates do not overlap only the larger one is measured exactly. A range
// that holds a NaN or an undefined bound never decides (a NaN bound fails
// every test, an infinite one passes none), so NaN candidates are measured.
// Leaves in the workspace what measuring b against the new center does.
template <const MergePlace& kPlace>
float merged_radius_angle_manhattan(const ClusterRecord& a, const ClusterRecord& b, float na,
                                    float nb) {
  const bool angle_first = *kPlace.primary == 4;
  const float center_norm = angle_norm(a.center, kSignalLength);
  const AngleManhattanParts moved = angle_manhattan_parts(
      a.center, kPlace.saved_center, center_norm, angle_norm(kPlace.saved_center, kSignalLength));
  const AngleManhattanParts spread =
      angle_manhattan_parts(a.center, b.center, center_norm, angle_norm(b.center, kSignalLength));
  leave_absolute_differences(a.center, b.center, kPlace.workspace);
  const float scale_a = 1.0f / na;
  const float scale_b = 1.0f / nb;
  const float low_a = angle_manhattan_lower_bound(moved);
  const float high_a = angle_manhattan_upper_bound(moved);
  const float low_b = angle_manhattan_lower_bound(spread);
  const float high_b = angle_manhattan_upper_bound(spread);
  if (scale_a * low_a + a.radius > scale_b * high_b + b.radius) {
    return scale_a * angle_manhattan_distance(moved, angle_first) + a.radius;
  }
  if (scale_a * high_a + a.radius <= scale_b * low_b + b.radius) {
    return scale_b * angle_manhattan_distance(spread, angle_first) + b.radius;
  }
  return larger_radius(scale_a * angle_manhattan_distance(moved, angle_first) + a.radius,
                       scale_b * angle_manhattan_distance(spread, angle_first) + b.radius);
}

// merge_clusters, writing its side results where kPlace says; without
// kWithRadius, a's radius is left as it is (for a journal's replay to work
// out) and everything else is written as ever.
template <const MergePlace& kPlace, bool kWithRadius>
void merge_records(ClusterRecord* a, ClusterRecord* b) {
  kPlace.saved_center[0] = a->center[0];
  kPlace.saved_center[1] = a->center[1];
  kPlace.saved_center[2] = a->center[2];

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

  if (is_angle_manhattan(*kPlace.primary, *kPlace.secondary)) {
    if constexpr (kWithRadius) {
      a->radius = merged_radius_angle_manhattan<kPlace>(*a, *b, na, nb);
    } else {
      leave_absolute_differences(a->center, b->center, kPlace.workspace);
    }
  } else {
    const float moved = measure_distance(1, *kPlace.primary, *kPlace.secondary, a->center,
                                         kPlace.saved_center, kPlace.workspace, kSignalLength);
    const float spread = measure_distance(1, *kPlace.primary, *kPlace.secondary, a->center,
                                          b->center, kPlace.workspace, kSignalLength);
    if constexpr (kWithRadius) {
      a->radius = larger_radius((1.0f / na) * moved + a->radius, (1.0f / nb) * spread + b->radius);
    }
  }
  a->count = static_cast<std::uint16_t>(count_sum > 65535 ? 65535 : count_sum);
  empty_slot(b);
}

// The journal updates hand their radius changes to, if any.
RadiusJournal* radius_journal = nullptr;

// The journal's next free change, or a scratch one when it has no room (the
// change is then counted as lost).
RadiusChange& next_radius_change() {
  if (radius_journal->count < radius_journal->capacity) {
    return radius_journal->changes[radius_journal->count++];
  }
  static RadiusChange discarded;
  ++radius_journal->lost;
  return discarded;
}

// A merge of the learning step, its radius left to the journal when there is one.
void merge_slots(std::uint8_t slot_a, std::uint8_t slot_b) {
  ClusterRecord& a = cluster_table[slot_a];
  ClusterRecord& b = cluster_table[slot_b];
  if (radius_journal == nullptr) {
    merge_records<kEngineMerge, true>(&a, &b);
    return;
  }
  RadiusChange& change = next_radius_change();
  change.kind = RadiusChange::Kind::merged;
  change.primary = measure_primary;
  change.secondary = measure_secondary;
  change.survivor = slot_a;
  change.emptied = slot_b;
  change.survivor_count = a.count;
  change.absorbed_count = b.count;
  copy_center(change.survivor_center, a.center);
  copy_center(change.absorbed_center, b.center);
  merge_records<kEngineMerge, false>(&a, &b);
}

// Empties the smallest cluster when both of the closest pair are large.
void drop_slot(std::uint8_t slot) {
  empty_slot(&cluster_table[slot]);
  if (radius_journal == nullptr) return;
  RadiusChange& change = next_radius_change();
  change.kind = RadiusChange::Kind::emptied;
  change.emptied = slot;
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

void defer_pair_distances() {
  distances_deferred = true;
  pass_while_deferred = false;
}

void settle_pair_distances() {
  if (distances_deferred && pass_while_deferred) {
    write_pair_distances();
    closest_distance = pair_cache.distance[pair_cache.closest];
  }
  distances_deferred = false;
  pass_while_deferred = false;
}

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
    drop_slot(smallest_count_slot);
    spare_slot = smallest_count_slot;
    smallest_count = kSmallestCountUnknown;
    return;
  }
  if (smallest_count_slot == closest.a || smallest_count_slot == closest.b) {
    smallest_count = kSmallestCountUnknown;
  }
  merge_slots(closest.a, closest.b);
  spare_slot = closest.b;
}

std::int32_t merge_clusters(ClusterRecord* a, ClusterRecord* b) {
  merge_records<kEngineMerge, true>(a, b);
  return 1;
}

void journal_radii(RadiusJournal* journal) { radius_journal = journal; }

void RadiusLedger::open() {
  for (unsigned k = 0; k < kClusterSlots; ++k) radius_[k] = cluster_table[k].radius;
}

// Each merge is done again on copies of the two records as they were, with
// the radii worked out so far, and gives the survivor's radius.
void RadiusLedger::apply(const RadiusChange* changes, unsigned count) {
  for (unsigned i = 0; i < count; ++i) {
    const RadiusChange& change = changes[i];
    const unsigned emptied = slot_in_table(change.emptied);
    if (change.kind == RadiusChange::Kind::merged) {
      const unsigned survivor = slot_in_table(change.survivor);
      ClusterRecord a{change.survivor_count, radius_[survivor], {}};
      ClusterRecord b{change.absorbed_count, radius_[emptied], {}};
      copy_center(a.center, change.survivor_center);
      copy_center(b.center, change.absorbed_center);
      replay_primary = change.primary;
      replay_secondary = change.secondary;
      merge_records<kReplayMerge, true>(&a, &b);
      radius_[survivor] = a.radius;
    }
    radius_[emptied] = 0.0f;
  }
}

void RadiusLedger::close() const {
  for (unsigned k = 0; k < kClusterSlots; ++k) cluster_table[k].radius = radius_[k];
}

}  // namespace vtl
