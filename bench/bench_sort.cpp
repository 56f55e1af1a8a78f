// The merge sort on random and on already sorted buffers: two halves already in
// order cost one comparison and no merge, so sorted input takes linear time.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <random>
#include <vector>

#include "features/merge_sort.h"

namespace {

std::vector<float> random_buffer(std::size_t n) {
  std::mt19937 rng(42);
  std::uniform_real_distribution<float> dist(-1000.0f, 1000.0f);
  std::vector<float> v(n);
  for (float& x : v) x = dist(rng);
  return v;
}

std::vector<float> sorted_buffer(std::size_t n) {
  std::vector<float> v(n);
  for (std::size_t i = 0; i < n; ++i) v[i] = static_cast<float>(i) * 0.5f;
  return v;
}

void run_sorted_copy(benchmark::State& state, const std::vector<float>& src) {
  const auto n = static_cast<std::uint16_t>(src.size());
  std::vector<float> dst(src.size()), tmp(src.size());
  for (auto _ : state) {
    vtl::sorted_copy(src.data(), dst.data(), tmp.data(), n);
    benchmark::DoNotOptimize(dst.data());
    benchmark::ClobberMemory();
  }
  state.SetComplexityN(state.range(0));
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_SortRandom(benchmark::State& state) {
  run_sorted_copy(state, random_buffer(static_cast<std::size_t>(state.range(0))));
}

void BM_SortAlreadySorted(benchmark::State& state) {
  run_sorted_copy(state, sorted_buffer(static_cast<std::size_t>(state.range(0))));
}

}  // namespace

BENCHMARK(BM_SortRandom)->RangeMultiplier(4)->Range(64, 65535)->Complexity(benchmark::oNLogN);
BENCHMARK(BM_SortAlreadySorted)->RangeMultiplier(4)->Range(64, 65535)->Complexity(benchmark::oN);
