#include "engine/scoring.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

#include "base/min_max.h"
#include "distance/distance_bounds.h"
#include "distance/measure.h"
#include "engine/center_norms.h"
#include "engine/model.h"

namespace vtl {

// g x (radius / d) falls as d grows (both roundings are monotonic), so the
// distances that vote 100 run from 0 (radius / 0 is +infinity) up to the
// reach, which is found among the floats' bit patterns.
float reach_of_100(float radius, float g) {
  std::uint32_t votes = 0;                  // 0.0 votes 100
  std::uint32_t falls_short = 0x7f800000u;  // +infinity votes 0 (or NaN)
  while (falls_short - votes > 1) {
    const std::uint32_t middle = votes + (falls_short - votes) / 2;
    if (g * (radius / std::bit_cast<float>(middle)) >= 100.0f) {
      votes = middle;
    } else {
      falls_short = middle;
    }
  }
  return std::bit_cast<float>(votes);
}

namespace {

// The vote of a distance: 90 x radius / (factor x distance), clamped to 0..100.
float vote(float radius, float d, float g) {
  const float q = radius / d;
  const float v = g * q;
  // The floor is taken in double precision: a NaN vote becomes 0.
  const float floored = static_cast<float>(double_max(static_cast<double>(v), 0.0));
  return float_min(floored, 100.0f);
}

// The plain loop: every slot with a count above 1 measured, in order, until a
// vote of 100.
float measured_score(const float* signal, float signal_norm, float g) {
  float best = 0.0f;
  for (unsigned k = 0; k < kClusterSlots; ++k) {
    const ClusterRecord& cluster = cluster_table[k];
    if (cluster.count <= 1) continue;  // single signals, spare and emptied slots
    const float d = combined_distance_known_norms(measure_primary, measure_secondary,
                                                  cluster.center, signal, center_norm(k),
                                                  signal_norm, distance_workspace, kSignalLength);
    const float s = vote(cluster.radius, d, g);
    if (s >= best) best = s;
    if (best == 100.0f) return 100.0f;
  }
  return best;
}

// What measuring slot k against the signal leaves in the workspace: the
// absolute coordinate differences, from the Manhattan measure.
void leave_workspace_of(unsigned k, const float* signal) {
  for (unsigned c = 0; c < kSignalLength; ++c) {
    distance_workspace[c] = negate_if_negative(cluster_table[k].center[c] - signal[c]);
  }
}

// reach_of_100 of each slot, kept while its radius and g stay the same: a run
// of detections meets the same model and sensitivity every time.
struct ReachCache {
  bool known = false;
  std::uint32_t radius_bits = 0;
  std::uint32_t g_bits = 0;
  float reach = 0.0f;
};

ReachCache reaches[kClusterSlots];

float slot_reach_of_100(unsigned k, float radius, float g) {
  ReachCache& cache = reaches[k];
  const std::uint32_t radius_bits = std::bit_cast<std::uint32_t>(radius);
  const std::uint32_t g_bits = std::bit_cast<std::uint32_t>(g);
  if (!cache.known || cache.radius_bits != radius_bits || cache.g_bits != g_bits) {
    cache.reach = reach_of_100(radius, g);
    cache.radius_bits = radius_bits;
    cache.g_bits = g_bits;
    cache.known = true;
  }
  return cache.reach;
}

// The plain loop for the reset selectors and 0 < g < infinity, with bounds of
// the distance in the place of acosf where they settle a vote: a slot whose
// largest possible distance already gives 100 ends the loop, and one whose
// smallest possible distance keeps it below 100 is measured only if no later
// slot gives 100 (votes below 100 are at least +0 and never NaN, so the order
// in which they are compared does not change the best). Both conclusions are
// exact: radius / d and g x q are monotonic in d and q under rounding.
float bounded_score(const float* signal, float signal_norm, float g) {
  AngleManhattanParts deferred[kClusterSlots];
  unsigned deferred_slots[kClusterSlots];
  unsigned deferred_count = 0;
  unsigned last = kClusterSlots;
  const bool angle_first = measure_primary == 4;
  float best = 0.0f;
  for (unsigned k = 0; k < kClusterSlots; ++k) {
    const ClusterRecord& cluster = cluster_table[k];
    if (cluster.count <= 1) continue;
    last = k;
    // A radius that is 0, negative or NaN votes 0 whatever the distance: the
    // distance is never -0 (a Manhattan distance of -0 comes only from two
    // zero vectors, whose angle is NaN), so radius / d is never +infinity.
    if (!(cluster.radius > 0.0f)) continue;
    const AngleManhattanParts parts =
        angle_manhattan_parts(cluster.center, signal, center_norm(k), signal_norm);
    const float chord = chord_of(parts.cosine);
    // A NaN bound (a NaN part, or 0 x infinity) fails both tests. A bound
    // above 0 is compared with the reach of 100 instead of being divided.
    const float reach = slot_reach_of_100(k, cluster.radius, g);
    const float high = angle_upper_bound_of_chord(chord) * parts.manhattan;
    if (high > 0.0f ? high <= reach : g * (cluster.radius / high) >= 100.0f) {
      leave_workspace_of(k, signal);
      return 100.0f;
    }
    const float low = angle_lower_bound_of_chord(chord) * parts.manhattan;
    if (low > reach) {
      deferred[deferred_count] = parts;
      deferred_slots[deferred_count++] = k;
      continue;
    }
    const float s = vote(cluster.radius, angle_manhattan_distance(parts, angle_first), g);
    if (s == 100.0f) {
      leave_workspace_of(k, signal);
      return 100.0f;
    }
    if (s >= best) best = s;
  }
  for (unsigned i = 0; i < deferred_count; ++i) {
    const float s = vote(cluster_table[deferred_slots[i]].radius,
                         angle_manhattan_distance(deferred[i], angle_first), g);
    if (s >= best) best = s;
  }
  if (last < kClusterSlots) leave_workspace_of(last, signal);
  return best;
}

}  // namespace

float score_similarity(const float* signal, float factor) {
  const float signal_norm = angle_norm(signal, kSignalLength);
  const float g = 90.0f * (1.0f / factor);
  // Most signals of a working machine score 100 on the first cluster near
  // them: with the reset selectors, bounds of the distances usually show that
  // without an acosf.
  if (is_angle_manhattan(measure_primary, measure_secondary) && g > 0.0f &&
      g < std::numeric_limits<float>::infinity()) {
    return bounded_score(signal, signal_norm, g);
  }
  return measured_score(signal, signal_norm, g);
}

}  // namespace vtl
