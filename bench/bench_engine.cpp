// The engine's hot paths: one learning step with a full table (45 distances and
// a merge) and one detection (up to 10 distances), with the reset selectors.

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>

#include "engine/interface.h"
#include "engine/learning.h"

namespace {

// Readings of a machine running normally: gravity on z, a slow wobble on x and y.
void reading(std::uint32_t t, float* signal) {
  const float phase = static_cast<float>(t) / 7.0f;
  signal[0] = 0.3f + 0.05f * std::cos(phase);
  signal[1] = 0.2f + 0.05f * std::sin(phase);
  signal[2] = 9.81f + 0.001f * static_cast<float>(t % 13);
}

// Learns one reading per iteration, from a model initialised before.
void learn_readings(benchmark::State& state) {
  float signal[3];
  std::uint32_t t = 0;
  for (auto _ : state) {
    reading(t++, signal);
    benchmark::DoNotOptimize(vtl::vtl_anomalydetection_learn(signal));
  }
}

// Single library calls: each writes pair_distance.
void BM_Learn(benchmark::State& state) {
  vtl::vtl_anomalydetection_init();
  learn_readings(state);
}
BENCHMARK(BM_Learn);

// The same as the front end learns a file: pair_distance written at the end.
void BM_LearnRun(benchmark::State& state) {
  vtl::vtl_anomalydetection_init();
  const vtl::DeferredPairDistances run_of_signals;
  learn_readings(state);
}
BENCHMARK(BM_LearnRun);

// The share of a run the front end's learning thread does for long files: the
// radii go to a journal, 1024 signals at a time, and are replayed elsewhere.
void BM_LearnRunJournaled(benchmark::State& state) {
  vtl::vtl_anomalydetection_init();
  const vtl::DeferredPairDistances run_of_signals;
  static vtl::RadiusChange changes[1024];
  vtl::RadiusJournal journal{changes, 1024, 0, 0};
  vtl::journal_radii(&journal);
  float signal[3];
  std::uint32_t t = 0;
  for (auto _ : state) {
    reading(t++, signal);
    benchmark::DoNotOptimize(vtl::vtl_anomalydetection_learn(signal));
    if (journal.count == journal.capacity) journal.count = 0;
  }
  vtl::journal_radii(nullptr);
}
BENCHMARK(BM_LearnRunJournaled);

// The other share: replaying one journaled change (a merge with its radius
// distances, or an emptied slot).
void BM_RadiusReplay(benchmark::State& state) {
  vtl::vtl_anomalydetection_init();
  static vtl::RadiusChange changes[1024];
  vtl::RadiusJournal journal{changes, 1024, 0, 0};
  vtl::journal_radii(&journal);
  float signal[3];
  for (std::uint32_t t = 0; journal.count < journal.capacity; ++t) {
    reading(t, signal);
    vtl::vtl_anomalydetection_learn(signal);
  }
  vtl::journal_radii(nullptr);
  vtl::RadiusLedger ledger;
  ledger.open();
  unsigned next = 0;
  for (auto _ : state) {
    ledger.apply(changes + next, 1);
    next = (next + 1) % journal.count;
  }
}
BENCHMARK(BM_RadiusReplay);

void BM_Detect(benchmark::State& state) {
  vtl::vtl_anomalydetection_init();
  float signal[3];
  for (std::uint32_t t = 0; t < 1000; ++t) {
    reading(t, signal);
    vtl::vtl_anomalydetection_learn(signal);
  }
  std::uint8_t similarity = 0;
  std::uint32_t t = 0;
  for (auto _ : state) {
    reading(t++, signal);
    signal[0] += static_cast<float>(t % 3) * 0.5f;  // some readings far from the clusters
    benchmark::DoNotOptimize(vtl::vtl_anomalydetection_detect(signal, &similarity));
  }
}
BENCHMARK(BM_Detect);

}  // namespace
