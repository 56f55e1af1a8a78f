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

// What one learning update does to the radii: a merge (the two records as
// they were before it, radii apart, and the selectors) or an emptied slot.
struct RadiusChange {
  enum class Kind : std::uint8_t { emptied, merged };
  Kind kind;
  std::uint8_t primary;  // merged: measure_primary and measure_secondary
  std::uint8_t secondary;
  std::uint8_t survivor;         // merged: the slot that survives the merge
  std::uint8_t emptied;          // the slot emptied (a merge's absorbed cluster)
  std::uint16_t survivor_count;  // merged: the counts and centers before it
  std::uint16_t absorbed_count;
  float survivor_center[kSignalLength];
  float absorbed_center[kSignalLength];
};

// Room for the changes of a run of updates, filled in order. A change that
// finds no room is counted in lost and not kept (the radii are then lost too).
struct RadiusJournal {
  RadiusChange* changes;
  unsigned capacity;
  unsigned count;
  unsigned lost;
};

// While a journal is set, learning updates leave the radii in the table alone
// and append what they do to them to the journal instead, for a RadiusLedger
// to replay (on another thread, say); everything else they write is written
// as before. nullptr ends the journaling. The journal belongs to the thread
// that runs the updates until then. A run that journals must replay the whole
// journal before anything else reads or writes the radii.
void journal_radii(RadiusJournal* journal);

// Radii worked out from journals, apart from the table. Nothing a learning
// update decides depends on a radius, so the radius arithmetic of a run (one
// or two acosf a merge) can be left to another thread. Only one ledger may
// replay at a time.
class RadiusLedger {
 public:
  // Takes the radii the table holds now, before the journaled updates.
  void open();
  // Replays changes in order, exactly as the merges would have worked the radii
  // out; slot numbers beyond the table are taken as its last slot.
  void apply(const RadiusChange* changes, unsigned count);
  // Writes the radii worked out into the table.
  void close() const;

 private:
  float radius_[kClusterSlots] = {};
};

// Merges b into a (a survives, b gets the empty-slot marker); returns 1.
// A count sum above 65535 is kept at 65535.
std::int32_t merge_clusters(ClusterRecord* a, ClusterRecord* b);

// Writes the empty-slot marker: count 1, radius 0, centers 65535.
void empty_slot(ClusterRecord* slot);

}  // namespace vtl
