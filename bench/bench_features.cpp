// Feature extraction of one 1024-sample axis: every time-domain feature, and
// every spectral feature of a 1024-point frame.

#include <benchmark/benchmark.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include "features/extract.h"

namespace {

constexpr std::uint16_t kSamples = 1024;

std::vector<float> test_signal() {
  std::mt19937 rng(3);
  std::normal_distribution<float> noise(0.0f, 0.3f);
  std::vector<float> x(kSamples);
  for (std::uint16_t t = 0; t < kSamples; ++t) {
    x[t] = std::sin(0.2f * static_cast<float>(t)) + noise(rng);
  }
  return x;
}

// Every feature from first to last in the row of its own number.
std::array<std::uint8_t, vtl::kFeatureCount> slots_for(int first, int last) {
  std::array<std::uint8_t, vtl::kFeatureCount> s;
  s.fill(255);
  for (int k = first; k <= last; ++k) s[k] = static_cast<std::uint8_t>(k);
  return s;
}

void run_extract(benchmark::State& state, int first, int last, std::uint8_t frequency) {
  const std::vector<float> x = test_signal();
  const auto slots = slots_for(first, last);
  std::vector<float> matrix(vtl::kFeatureCount), sorted(kSamples), work(kSamples),
      spectrum(kSamples);
  for (auto _ : state) {
    vtl::extract_features(x.data(), matrix.data(), slots.data(), sorted.data(), 0, 1, kSamples,
                          work.data(), spectrum.data(), kSamples, vtl::kFeatureCount, frequency);
    benchmark::DoNotOptimize(matrix.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kSamples);
}

void BM_ExtractTimeDomainAll(benchmark::State& state) {
  run_extract(state, vtl::FEAT_P5, vtl::FEAT_ENTROPY, 0);
}

void BM_ExtractTimeDomainNoSort(benchmark::State& state) {
  run_extract(state, vtl::FEAT_MEAN, vtl::FEAT_MEAN_CROSSINGS, 0);
}

void BM_ExtractFrequencyDomainAll(benchmark::State& state) {
  run_extract(state, vtl::FEAT_SPECTRAL_PEAK, vtl::FEAT_SPECTRAL_ENERGY, 1);
}

}  // namespace

BENCHMARK(BM_ExtractTimeDomainAll);
BENCHMARK(BM_ExtractTimeDomainNoSort);
BENCHMARK(BM_ExtractFrequencyDomainAll);
