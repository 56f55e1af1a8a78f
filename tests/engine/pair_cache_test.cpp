// The learning pass measures again only the pairs whose centers changed, skips
// the exact measurement of pairs whose lower bound rules them out, and in a
// run writes pair_distance only at the end; a merge measures exactly only the
// radius candidate that its bounds cannot rule out. Long random sequences run
// through that pass, through one that measures all 45 pairs every time and
// through a plain pass and merge written here from the algorithm must leave
// every global of the engine identical, bit for bit. So must runs that
// journal their radius changes and replay them afterwards.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>
#include <optional>
#include <random>
#include <vector>

#include "distance/measure.h"
#include "engine/interface.h"
#include "engine/knowledge_buffer.h"
#include "engine/learning.h"
#include "engine/model.h"
#include "engine/snapshot.h"
#include "engine/staging.h"
#include "test_util.h"

namespace vtl {
namespace {

using test::bits;

// How two runs' floats must agree.
enum class Agreement {
  bits,  // bit for bit
  // Bit for bit, except that two NaNs may differ in sign and payload: a NaN
  // made from two NaNs takes the one the compiler placed first in a sum or
  // product, and code that measures through measure_distance out of line may
  // order them otherwise than code that inlines the measure.
  numbers,
};

void expect_same(const EngineSnapshot& a, const EngineSnapshot& b, int step,
                 bool with_pass_distances = true, Agreement agreement = Agreement::bits) {
  const auto same = [&](const float* x, const float* y, unsigned n, const char* what,
                        Agreement how) {
    for (unsigned i = 0; i < n; ++i) {
      if (how == Agreement::numbers && std::isnan(x[i]) && std::isnan(y[i])) continue;
      ASSERT_EQ(bits(x[i]), bits(y[i])) << what << "[" << i << "] after step " << step;
    }
  };
  for (unsigned k = 0; k < kClusterSlots; ++k) {
    ASSERT_EQ(a.cluster_table[k].count, b.cluster_table[k].count)
        << "slot " << k << " step " << step;
    same(&a.cluster_table[k].radius, &b.cluster_table[k].radius, 1, "radius", agreement);
    same(a.cluster_table[k].center, b.cluster_table[k].center, 3, "center", agreement);
  }
  const unsigned pass = with_pass_distances ? 1 : 0;
  same(a.pair_distance, b.pair_distance, kPairCount * pass, "pair_distance", agreement);
  same(&a.closest_distance, &b.closest_distance, pass, "closest_distance", agreement);
  same(a.merge_saved_center, b.merge_saved_center, 3, "merge_saved_center", agreement);
  same(a.distance_workspace, b.distance_workspace, 3, "distance_workspace", agreement);
  same(a.staged_signal, b.staged_signal, 3, "staged_signal", Agreement::bits);
  const auto integers = [](const EngineSnapshot& s) {
    return std::vector<unsigned>{s.smallest_count, s.smallest_count_slot, s.filled_slots,
                                 s.spare_slot,     s.engine_status,       s.learn_count};
  };
  ASSERT_EQ(integers(a), integers(b)) << "smallest count and slot, filled, spare, status, "
                                         "learn count after step "
                                      << step;
}

// One step of a sequence: a signal to learn, or a knowledge to import first.
struct Step {
  float signal[3];
  bool import = false;
  float knowledge[kKnowledgeValues]{};
};

float odd_value(std::mt19937& random) {
  constexpr float kValues[] = {test::kNaN, test::kInf, -test::kInf, 0.0f, -0.0f, 1e-40f, 3.4e38f};
  return kValues[random() % std::size(kValues)];
}

std::vector<Step> random_sequence(unsigned seed, int length) {
  std::mt19937 random(seed);
  std::normal_distribution<float> noise(0.0f, 0.05f);
  std::vector<Step> steps(static_cast<std::size_t>(length));
  for (Step& step : steps) {
    // A few operating points, as a machine has (coordinates of either sign, so
    // that angles up to pi occur), and now and then a stray value.
    const unsigned point = random() % 4;
    for (unsigned c = 0; c < 3; ++c) {
      const float centre = static_cast<float>(static_cast<int>((point + c) % 4) - 1);
      step.signal[c] = centre + noise(random);
    }
    if (random() % 40 == 0) step.signal[random() % 3] = odd_value(random);
    // Repeated readings make equal centers, and so ties at distance 0.
    if (&step != &steps.front() && random() % 8 == 0) {
      const Step& earlier = steps[random() % static_cast<std::size_t>(&step - &steps.front())];
      std::memcpy(step.signal, earlier.signal, sizeof step.signal);
    }
    if (random() % 150 == 0) {
      step.import = true;
      for (unsigned p = 0; p < kKnowledgeModelValues; ++p)
        step.knowledge[p] = static_cast<float>(random() % 4) + noise(random);
      step.knowledge[0] = 500;
      // Every selector pair occurs, the correlation and angle measures included.
      step.knowledge[1] = static_cast<float>(random() % 7);
      step.knowledge[2] =
          static_cast<float>(random() % 2 == 0 ? random() % 7 : 200 + random() % 56);
      for (unsigned k = 0; k < kClusterSlots; ++k) {
        step.knowledge[6 + 5 * k] = 0.1f;
        step.knowledge[7 + 5 * k] =
            static_cast<float>(15 + random() % 60);  // large clusters drop signals
      }
      // Slot numbers beyond the table, as a hand-made file may hold.
      step.knowledge[53] = static_cast<float>(random() % 3 == 0 ? 200 : random() % 10);
      step.knowledge[54] = 9;
      step.knowledge[55] = static_cast<float>(random() % 3 == 0 ? 77 : random() % 10);
      step.knowledge[56] = static_cast<float>(random() % 70);
      std::memcpy(step.knowledge + kKnowledgeModelValues, kKnowledgeSignature,
                  sizeof kKnowledgeSignature);
    }
  }
  return steps;
}

void fresh_engine() {
  restore_engine(EngineSnapshot{});
  vtl_anomalydetection_init();
}

// learn (after an import), in a run of its own when deferred.
void run(const Step& step, bool deferred = false) {
  std::optional<DeferredPairDistances> run_of_one;
  if (deferred) run_of_one.emplace();
  if (step.import) vtl_anomalydetection_knowledge(step.knowledge);
  vtl_anomalydetection_learn(step.signal);
}

// The engine after each step, run one step at a time from a fresh init.
std::vector<EngineSnapshot> snapshots_after_each(const std::vector<Step>& steps) {
  std::vector<EngineSnapshot> after(steps.size());
  fresh_engine();
  forget_pair_distances();
  for (std::size_t s = 0; s < steps.size(); ++s) {
    run(steps[s]);
    capture_engine(after[s]);
  }
  return after;
}

TEST(PairCache, CachedPassesEqualFullPassesOverLongRandomSequences) {
  for (unsigned seed = 1; seed <= 6; ++seed) {
    SCOPED_TRACE(seed);
    const std::vector<Step> steps = random_sequence(seed, 3000);
    const std::vector<EngineSnapshot> cached = snapshots_after_each(steps);
    fresh_engine();
    for (std::size_t s = 0; s < steps.size(); ++s) {
      forget_pair_distances();
      run(steps[s]);
      EngineSnapshot full;
      capture_engine(full);
      expect_same(cached[s], full, static_cast<int>(s));
      if (HasFatalFailure()) return;
    }
  }
}

// merge_clusters as the algorithm states it: both radius candidates measured
// with measure_distance.
void plain_merge(ClusterRecord* a, ClusterRecord* b) {
  for (unsigned c = 0; c < 3; ++c) merge_saved_center[c] = a->center[c];
  const float na = static_cast<float>(a->count);
  const float nb = static_cast<float>(b->count);
  const int sum = a->count + b->count;
  const float total = static_cast<float>(sum);
  for (unsigned c = 0; c < 3; ++c) {
    a->center[c] = na >= nb ? a->center[c] + (nb / total) * (b->center[c] - a->center[c])
                            : b->center[c] + (na / total) * (a->center[c] - b->center[c]);
  }
  const float moved = measure_distance(1, measure_primary, measure_secondary, a->center,
                                       merge_saved_center, distance_workspace, 3);
  const float spread = measure_distance(1, measure_primary, measure_secondary, a->center, b->center,
                                        distance_workspace, 3);
  const float radius_a = (1.0f / na) * moved + a->radius;
  const float radius_b = (1.0f / nb) * spread + b->radius;
  a->radius = radius_a > radius_b ? radius_a : radius_b;
  a->count = static_cast<std::uint16_t>(std::min(sum, 65535));
  empty_slot(b);
}

// The learning update as the algorithm states it: all 45 pairs measured with
// measure_distance in scan order, the first pair kept unless a later one is
// strictly closer, and the plain merge on the table's records.
void plain_learning_update(const float* signal) {
  if (filled_slots < 9) {
    for (unsigned c = 0; c < 3; ++c) cluster_table[filled_slots].center[c] = signal[c];
    ++filled_slots;
    return;
  }
  spare_slot = static_cast<std::uint8_t>(slot_in_table(spare_slot));
  smallest_count_slot = static_cast<std::uint8_t>(slot_in_table(smallest_count_slot));
  for (unsigned c = 0; c < 3; ++c) cluster_table[spare_slot].center[c] = signal[c];
  std::uint8_t a = 0;
  std::uint8_t b = 1;
  for (std::uint8_t i = 0; i < 10; ++i) {
    if (i != spare_slot && cluster_table[i].count < smallest_count) {
      smallest_count = cluster_table[i].count;
      smallest_count_slot = i;
    }
    for (std::uint8_t j = i + 1; j < 10; ++j) {
      const float d =
          measure_distance(1, measure_secondary, measure_primary, cluster_table[i].center,
                           cluster_table[j].center, distance_workspace, 3);
      pair_distance[pair_index(i, j)] = d;
      if ((i == 0 && j == 1) || closest_distance > d) {
        closest_distance = d;
        a = i;
        b = j;
      }
    }
  }
  if (cluster_table[a].count > 50 && cluster_table[b].count > 50) {
    if (cluster_table[smallest_count_slot].count > 19) return;
    empty_slot(&cluster_table[smallest_count_slot]);
    spare_slot = smallest_count_slot;
    smallest_count = 65535;
    return;
  }
  if (smallest_count_slot == a || smallest_count_slot == b) smallest_count = 65535;
  plain_merge(&cluster_table[a], &cluster_table[b]);
  spare_slot = b;
}

// learn, with plain_learning_update in place of the engine's update.
void run_plain(const Step& step) {
  if (step.import) vtl_anomalydetection_knowledge(step.knowledge);
  if (init_done != 1) return;
  for (unsigned c = 0; c < 3; ++c) staged_signal[c] = step.signal[c];
  value_scratch = step.signal[2];
  ++learn_count;
  plain_learning_update(staged_signal);
  engine_status = learn_count > 9 ? 127 : 126;
}

struct BothWays {
  EngineSnapshot engine;
  EngineSnapshot plain;
};

// Runs `engine` and `plain`, both from the state the globals hold; the plain
// one's result is left in the globals.
template <typename Engine, typename Plain>
BothWays both_ways(Engine engine, Plain plain) {
  BothWays result;
  EngineSnapshot before;
  capture_engine(before);
  engine();
  capture_engine(result.engine);
  restore_engine(before);
  plain();
  capture_engine(result.plain);
  return result;
}

BothWays steps_both_ways(std::initializer_list<Step> steps, bool deferred) {
  return both_ways(
      [&] {
        for (const Step& step : steps) run(step, deferred);
      },
      [&] {
        for (const Step& step : steps) run_plain(step);
      });
}

TEST(PairCache, EveryStepEqualsThePlainAlgorithm) {
  for (unsigned seed = 11; seed <= 14; ++seed) {
    SCOPED_TRACE(seed);
    const std::vector<Step> steps = random_sequence(seed, 3000);
    fresh_engine();
    for (std::size_t s = 0; s < steps.size(); ++s) {
      // Every other step in a run of one: the bounds of a run, settled at once.
      const BothWays after = steps_both_ways({steps[s]}, s % 2 == 1);
      expect_same(after.engine, after.plain, static_cast<int>(s), true, Agreement::numbers);
      if (HasFatalFailure()) return;
      // Both go on from the engine's state, so that a NaN sign cannot make the
      // two runs part.
      restore_engine(after.engine);
    }
  }
}

// Random merges, a third of them near a tie between the two radius
// candidates (down to equal values), with radii and centers that are 0,
// infinite or NaN now and then, and every selector pair.
TEST(PairCache, MergesEqualThePlainMerge) {
  std::mt19937 random(2026);
  std::normal_distribution<float> spread(0.0f, 0.3f);
  std::uniform_real_distribution<float> unit(0.0f, 1.0f);
  for (int trial = 0; trial < 200000; ++trial) {
    fresh_engine();
    if (trial % 8 == 7) {
      measure_primary = static_cast<std::uint8_t>(random() % 6);
      measure_secondary = static_cast<std::uint8_t>(random() % 6);
    } else if (trial % 2 == 1) {
      std::swap(measure_primary, measure_secondary);  // the angle second
    }
    ClusterRecord& a = cluster_table[2];
    ClusterRecord& b = cluster_table[7];
    const std::uint16_t counts[] = {1, 2, 3, 7, 50, 51, 400, 65535};
    a.count = counts[random() % 8];
    b.count = random() % 2 == 0 ? 1 : counts[random() % 8];
    const float base[3] = {1.0f + spread(random), spread(random), 9.8f + spread(random)};
    for (unsigned c = 0; c < 3; ++c) {
      a.center[c] = base[c] + spread(random) * (random() % 3 == 0 ? 1e-4f : 1.0f);
      b.center[c] = base[c] + spread(random) * (random() % 3 == 0 ? 1e-4f : 1.0f);
    }
    if (random() % 10 == 0) std::memcpy(b.center, a.center, sizeof a.center);
    if (random() % 20 == 0) (random() % 2 == 0 ? a : b).center[random() % 3] = odd_value(random);
    if (random() % 50 == 0) {  // NaNs of either sign meet
      const unsigned c = random() % 3;
      a.center[c] = test::kNaN;
      b.center[c] = -test::kNaN;
    }
    a.radius = unit(random) * 0.5f;
    b.radius = random() % 2 == 0 ? 0.0f : unit(random) * 0.5f;
    if (random() % 20 == 0) (random() % 2 == 0 ? a : b).radius = odd_value(random);
    if (trial % 3 == 0) {
      // Move a's radius so that its candidate lands on b's or next to it.
      const BothWays merged = both_ways([] {}, [&] { plain_merge(&a, &b); });
      restore_engine(merged.engine);
      const float* center = merged.plain.cluster_table[2].center;
      const float moved = measure_distance(1, measure_primary, measure_secondary, center, a.center,
                                           distance_workspace, 3);
      const float spread = measure_distance(1, measure_primary, measure_secondary, center, b.center,
                                            distance_workspace, 3);
      const float candidate_b = (1.0f / b.count) * spread + b.radius;
      const float gap = candidate_b - (1.0f / a.count) * moved;
      a.radius = std::nextafter(gap, random() % 2 == 0 ? 0.0f : 1.0f);
      if (random() % 2 == 0) a.radius = gap;
    }
    const BothWays after = both_ways([&] { merge_clusters(&a, &b); }, [&] { plain_merge(&a, &b); });
    const EngineSnapshot& engine = after.engine;
    const EngineSnapshot& plain = after.plain;
    expect_same(engine, plain, trial, true, Agreement::numbers);
    // Differences are not commutative, so the workspace is pinned even where
    // two NaNs meet, as long as the merged centers are the same bits.
    for (unsigned c = 0; c < 3; ++c) {
      if (bits(engine.cluster_table[2].center[c]) != bits(plain.cluster_table[2].center[c]))
        continue;
      ASSERT_EQ(bits(engine.distance_workspace[c]), bits(plain.distance_workspace[c]))
          << "distance_workspace[" << c << "] after merge " << trial;
    }
    if (HasFatalFailure()) return;
  }
}

// Nine filled slots of `count` signals, slot k at center(k, c).
template <typename Center>
void nine_slots(std::uint16_t count, Center center) {
  fresh_engine();
  for (unsigned k = 0; k < 9; ++k) {
    cluster_table[k].count = count;
    for (unsigned c = 0; c < 3; ++c) cluster_table[k].center[c] = center(k, c);
  }
  filled_slots = 9;
}

// The new signal's closest partner lies at about 100 degrees, where the lower
// bound of its distance (3.3e-3) is furthest below the distance (3.77e-3),
// and an earlier pair of old centers is only a little further apart (4.0e-3).
// A bound that were too high would pass the closest pair over.
TEST(PairCache, AClosestPairAtAWideAngleIsFound) {
  const float centers[9][3] = {{0, 0, 50},        {0, 50, 0},    {0, 10, 10},
                               {0.2378f, 10, 10}, {1e-3f, 0, 0}, {0, -50, 0},
                               {0, 0, -50},       {-50, 0, 0},   {30, 30, 30}};
  nine_slots(1, [&](unsigned k, unsigned c) { return centers[k][c]; });
  const BothWays after = steps_both_ways({Step{{-1.7e-4f, 1e-3f, 0}}}, true);  // bounds: in runs
  expect_same(after.engine, after.plain, 1);
  EXPECT_EQ(after.engine.cluster_table[4].count, 2);  // the signal joined slot 4
  EXPECT_EQ(after.engine.spare_slot, 9);
}

// Two large clusters share a center, so their pair, measured exactly at the
// end of the first run, is the closest at 0 and the new signals are dropped.
// The second signal equals a later cluster's center: its pair, pending with
// bounds of 0, ties with the old pair, which keeps the record as the earlier
// one. Passing over the old pair would merge the signal into that cluster.
TEST(PairCache, AnExactPairTiedWithAPendingOneKeepsTheRecord) {
  nine_slots(60, [](unsigned k, unsigned c) {
    const float place = k == 3 ? 2.0f : static_cast<float>(k);
    return c == 0 ? place : c == 1 ? 1.0f : 10.0f - place;
  });
  const BothWays after = steps_both_ways({Step{{100, -3, 0}}, Step{{5, 1, 5}}}, true);
  expect_same(after.engine, after.plain, 2);
  EXPECT_EQ(after.engine.cluster_table[5].count, 60);
  EXPECT_EQ(after.engine.closest_distance, 0.0f);
}

// A dropped signal leaves in the workspace what measuring the last pair does:
// |+0 - -0| = +0 for slot 8 at +0 and the signal at -0 in slot 9 (|-0 - +0|
// would be -0).
TEST(PairCache, ADroppedSignalLeavesTheWorkspaceOfTheLastPair) {
  nine_slots(60, [](unsigned k, unsigned c) {
    return c > 0 ? static_cast<float>(c) : k == 8 ? 0.0f : static_cast<float>(k / 2 * 2 + 3);
  });
  const BothWays after = steps_both_ways({Step{{-0.0f, -40, 30}}}, false);
  expect_same(after.engine, after.plain, 1);
  EXPECT_EQ(after.engine.cluster_table[9].count, 1);  // both of the closest pair are large
  EXPECT_EQ(after.engine.cluster_table[0].count, 60);
  EXPECT_EQ(bits(after.engine.distance_workspace[0]), bits(0.0f));
}

// Runs of random length between knowledge imports (which bring every selector
// pair) write the pair distances of their last pass at the end; every other
// run journals its radii and replays them at the end, as the front end's
// learning thread does. Everything else must be up to date after each signal,
// and everything after the run, bit for bit, NaNs included.
TEST(PairCache, RunsEqualSingleStepsJournaledOrNot) {
  for (unsigned seed = 31; seed <= 34; ++seed) {
    SCOPED_TRACE(seed);
    const std::vector<Step> steps = random_sequence(seed, 3000);
    const std::vector<EngineSnapshot> direct = snapshots_after_each(steps);
    fresh_engine();
    std::mt19937 random(seed);
    for (std::size_t s = 0, end = 0; s < steps.size(); s = end) {
      if (steps[s].import) vtl_anomalydetection_knowledge(steps[s].knowledge);
      end = std::min(steps.size(), s + 1 + random() % 700);
      for (std::size_t later = s + 1; later < end; ++later) {
        if (steps[later].import) end = later;  // nothing but learning inside a run
      }
      const bool journaled = random() % 2 == 0;
      std::vector<RadiusChange> changes(end - s);
      RadiusJournal journal{changes.data(), static_cast<unsigned>(changes.size()), 0, 0};
      RadiusLedger ledger;
      ledger.open();
      {
        const DeferredPairDistances run_of_signals;
        if (journaled) journal_radii(&journal);
        for (std::size_t in_run = s; in_run < end; ++in_run) {
          vtl_anomalydetection_learn(steps[in_run].signal);
          EngineSnapshot now;
          capture_engine(now);
          for (unsigned k = 0; journaled && k < kClusterSlots; ++k)  // radii wait for the ledger
            now.cluster_table[k].radius = direct[in_run].cluster_table[k].radius;
          expect_same(now, direct[in_run], static_cast<int>(in_run), false);
          if (HasFatalFailure()) break;
        }
        journal_radii(nullptr);
      }
      if (HasFatalFailure()) return;
      if (journaled) {
        ASSERT_EQ(journal.lost, 0u);
        ASSERT_LE(journal.count, changes.size());
        ledger.apply(changes.data(), journal.count);
        ledger.close();
      }
      EngineSnapshot after;
      capture_engine(after);
      expect_same(after, direct[end - 1], static_cast<int>(end - 1));
      if (HasFatalFailure()) return;
    }
  }
}

TEST(PairCache, ARunWithoutAFullPassLeavesPairDistancesAlone) {
  fresh_engine();
  pair_distance[5] = 2.5f;
  {
    const DeferredPairDistances run_of_signals;
    for (int s = 0; s < 9; ++s) run(Step{{1, 2, 3}});  // filling only
  }
  EXPECT_EQ(pair_distance[5], 2.5f);
}

// Repeated readings make equal distances, ties that the bounds must leave to
// the exact distances; a center edited between runs is seen at the next pass.
TEST(PairCache, ACenterWrittenFromOutsideIsMeasuredAgain) {
  EngineSnapshot result[2];
  for (const bool full : {false, true}) {
    fresh_engine();
    {
      std::optional<DeferredPairDistances> run_of_signals;
      if (!full) run_of_signals.emplace();
      for (int s = 0; s < 30; ++s) run(Step{{static_cast<float>(s % 5), 1, 2}});
    }
    cluster_table[3].center[1] = 40.0f;
    if (full) forget_pair_distances();
    run(Step{{1, 1, 2}}, !full);
    capture_engine(result[full]);
  }
  expect_same(result[0], result[1], 31);
}

// A journal without room counts the change as lost and writes nothing; the
// merge itself happens as always. A ledger takes slot numbers beyond the table
// as its last slot.
TEST(PairCache, AFullJournalLosesChangesAndALedgerStaysInTheTable) {
  fresh_engine();
  for (int s = 0; s < 10; ++s) {
    RadiusChange guard[2] = {};
    guard[0].survivor = 77;
    RadiusJournal journal{guard, 0, 0, 0};
    journal_radii(&journal);
    run(Step{{static_cast<float>(s), 1, 2}});
    journal_radii(nullptr);
    EXPECT_EQ(journal.count, 0u);
    EXPECT_EQ(journal.lost, s == 9 ? 1u : 0u);  // the 10th signal merges
    EXPECT_EQ(guard[0].survivor, 77);
  }
  EXPECT_EQ(std::count_if(cluster_table, cluster_table + kClusterSlots,
                          [](const ClusterRecord& slot) { return slot.count == 2; }),
            1);

  for (unsigned k = 0; k < kClusterSlots; ++k) cluster_table[k].radius = 0.5f;
  cluster_table[3].radius = 0.25f;
  RadiusLedger ledger;
  ledger.open();
  // Slot 255 emptied; then, by squared Euclidean distances, (0, 0, 0) in slot
  // 200 and (2, 0, 0) in slot 3 merge at (1, 0, 0), each 1 away, so the radius
  // is the larger of 1 + 0 (slot 9 was emptied) and 1 + 0.25.
  const RadiusChange far[2] = {
      {RadiusChange::Kind::emptied, 0, 0, 0, 255, 0, 0, {}, {}},
      {RadiusChange::Kind::merged, 2, 2, 200, 3, 1, 1, {}, {2.0f, 0.0f, 0.0f}}};
  ledger.apply(far, 2);
  ledger.close();
  EXPECT_EQ(cluster_table[9].radius, 1.25f);
  EXPECT_EQ(cluster_table[3].radius, 0.0f);
  EXPECT_EQ(cluster_table[2].radius, 0.5f);
}

// A signal of -0 merged into a cluster at +0 leaves |+0 - -0| = +0 in the
// workspace (|-0 - +0| would be -0, as negating keeps the sign of a zero),
// journaled as at once.
TEST(PairCache, AJournaledMergeLeavesTheWorkspaceOfOneAtOnce) {
  nine_slots(5, [](unsigned k, unsigned c) {
    return c > 0 ? static_cast<float>(c) : k == 2 ? 0.0f : 10.0f + static_cast<float>(k);
  });
  const Step signal{{-0.0f, 1, 2}};
  const BothWays after = both_ways([&] { run(signal); },
                                   [&] {
                                     RadiusChange changes[1];
                                     RadiusJournal journal{changes, 1, 0, 0};
                                     RadiusLedger ledger;
                                     ledger.open();
                                     journal_radii(&journal);
                                     run(signal);
                                     journal_radii(nullptr);
                                     ledger.apply(changes, journal.count);
                                     ledger.close();
                                   });
  ASSERT_EQ(after.engine.cluster_table[2].count, 6);
  EXPECT_EQ(bits(after.engine.distance_workspace[0]), bits(0.0f));
  expect_same(after.plain, after.engine, 1);
}

}  // namespace
}  // namespace vtl
