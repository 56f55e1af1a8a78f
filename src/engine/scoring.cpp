#include "engine/scoring.h"

#include <cmath>

#include "base/min_max.h"
#include "distance/measure.h"
#include "engine/center_norms.h"
#include "engine/model.h"

namespace vtl {

float score_similarity(const float* signal, float factor) {
  float best = 0.0f;
  const float signal_norm = angle_norm(signal, kSignalLength);
  for (unsigned k = 0; k < kClusterSlots; ++k) {
    const ClusterRecord& cluster = cluster_table[k];
    if (cluster.count <= 1) continue;  // single signals, spare and emptied slots
    const float d = combined_distance_known_norms(measure_primary, measure_secondary,
                                                  cluster.center, signal, center_norm(k),
                                                  signal_norm, distance_workspace, kSignalLength);
    const float q = cluster.radius / d;
    const float g = 90.0f * (1.0f / factor);
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
