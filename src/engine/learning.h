#pragma once
// Incremental clustering with a fixed budget of 10 slots: the first 9 signals
// take a slot each; from then on each signal goes into the spare slot, all 45
// pair distances are computed, and the closest pair is merged, unless both of
// its clusters are large, in which case the smallest cluster (or, if even that
// one is large, the new signal) is dropped.

#include <cstdint>

#include "engine/model.h"

namespace vtl {

// Clusters above this count are large; a smallest cluster above
// kKeepSmallestAbove is kept and the new signal is dropped instead.
inline constexpr std::uint16_t kLargeClusterAbove = 50;
inline constexpr std::uint16_t kKeepSmallestAbove = 19;

// Folds one signal (3 floats, read only) into the model. The pass over all
// pairs measures again only the pairs whose centers changed since the last
// pass, and with the reset selectors measures exactly only the pairs that may
// be the closest one before it writes pair_distance; every result is the same
// as measuring all 45.
void learning_update(const float* signal);

// Makes the next pass measure all 45 pairs (the results do not change; tests
// compare the two ways).
void forget_pair_distances();

// A run of learning updates may leave pair_distance and closest_distance
// behind until the run ends: after defer_pair_distances, passes keep their
// distances to themselves (and measure exactly only those that bounds cannot
// rule in or out as the closest pair), and settle_pair_distances writes the
// last pass's distances, exactly as that pass would have. Every other global
// is up to date after each update. Between the two, nothing but
// learning_update may write the model.
void defer_pair_distances();
void settle_pair_distances();

// Defers pair_distance for its lifetime.
class DeferredPairDistances {
 public:
  DeferredPairDistances() { defer_pair_distances(); }
  ~DeferredPairDistances() { settle_pair_distances(); }
  DeferredPairDistances(const DeferredPairDistances&) = delete;
  DeferredPairDistances& operator=(const DeferredPairDistances&) = delete;
};

// Merges b into a (a survives, b gets the empty-slot marker); returns 1.
// A count sum above 65535 is kept at 65535.
std::int32_t merge_clusters(ClusterRecord* a, ClusterRecord* b);

// Writes the empty-slot marker: count 1, radius 0, centers 65535.
void empty_slot(ClusterRecord* slot);

}  // namespace vtl
