#include "engine/scoring.h"

#include <cmath>
#include <limits>

#include "base/min_max.h"
#include "distance/distance_bounds.h"
#include "distance/measure.h"
#include "engine/center_norms.h"
#include "engine/model.h"

namespace vtl {

namespace {

// What the scoring of a slot can be, as far as the bounds of its distance tell.
enum class Vote { full, below_full, open };

// For the reset selectors and 0 < g < infinity: the vote of slot k is the full
// 100 when even the largest distance its bounds allow gives 100, and below
// 100 when even the smallest does not reach it. Both are exact conclusions:
// radius / d and g x q are monotonic in d and q under rounding.
Vote bounded_vote(unsigned k, const float* signal, float signal_norm, float g) {
  const ClusterRecord& cluster = cluster_table[k];
  // A radius that is 0, negative or NaN votes 0 whatever the distance.
  if (!(cluster.radius > 0.0f)) return Vote::below_full;
  const AngleManhattanParts parts =
      angle_manhattan_parts(cluster.center, signal, center_norm(k), signal_norm);
  const float chord = chord_of(parts.cosine);
  // A NaN bound (a NaN part, or 0 x infinity) fails both tests and stays open.
  const float high = angle_upper_bound_of_chord(chord) * parts.manhattan;
  if (g * (cluster.radius / high) >= 100.0f) return Vote::full;
  const float low = angle_lower_bound_of_chord(chord) * parts.manhattan;
  if (low > 0.0f && g * (cluster.radius / low) < 100.0f) return Vote::below_full;
  return Vote::open;
}

// True when the bounds prove that scoring stops at 100 on some slot; the
// workspace is then left as measuring that slot leaves it (the absolute
// coordinate differences, from the Manhattan measure).
bool proved_full_score(const float* signal, float signal_norm, float g) {
  for (unsigned k = 0; k < kClusterSlots; ++k) {
    if (cluster_table[k].count <= 1) continue;
    switch (bounded_vote(k, signal, signal_norm, g)) {
      case Vote::below_full:
        continue;
      case Vote::open:
        return false;
      case Vote::full:
        for (unsigned c = 0; c < kSignalLength; ++c) {
          distance_workspace[c] = negate_if_negative(cluster_table[k].center[c] - signal[c]);
        }
        return true;
    }
  }
  return false;
}

}  // namespace

float score_similarity(const float* signal, float factor) {
  const float signal_norm = angle_norm(signal, kSignalLength);
  const float g = 90.0f * (1.0f / factor);
  // Most signals of a working machine score 100 on the first cluster near
  // them: with the reset selectors, bounds of the distances usually show that
  // without an acosf.
  if (is_angle_manhattan(measure_primary, measure_secondary) && g > 0.0f &&
      g < std::numeric_limits<float>::infinity() && proved_full_score(signal, signal_norm, g)) {
    return 100.0f;
  }
  float best = 0.0f;
  for (unsigned k = 0; k < kClusterSlots; ++k) {
    const ClusterRecord& cluster = cluster_table[k];
    if (cluster.count <= 1) continue;  // single signals, spare and emptied slots
    const float d = combined_distance_known_norms(measure_primary, measure_secondary,
                                                  cluster.center, signal, center_norm(k),
                                                  signal_norm, distance_workspace, kSignalLength);
    const float q = cluster.radius / d;
    const float v = g * q;
    // The floor is taken in double precision: a NaN vote becomes 0.
    const float floored = static_cast<float>(double_max(static_cast<double>(v), 0.0));
    const float s = float_min(floored, 100.0f);
    if (s >= best) best = s;
    if (best == 100.0f) return 100.0f;
  }
  return best;
}

}  // namespace vtl
