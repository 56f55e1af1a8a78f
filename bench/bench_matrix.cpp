// Timing of matrix_invert on diagonally dominant matrices of order 4 to 32.
//
// The inversion works in place, so every iteration first copies the prepared
// matrix into the working buffer; BM_MatrixCopy times that copy alone so that
// it can be subtracted from BM_MatrixInvert (copy + inversion).

#include <benchmark/benchmark.h>

#include <cstdint>
#include <random>
#include <vector>

#include "distance/matrix.h"

namespace {

std::vector<float> prepared_matrix(int n) {
  std::mt19937 rng(7);
  std::uniform_real_distribution<float> entry(-1.0f, 1.0f);
  std::vector<float> m(static_cast<std::size_t>(n) * n);
  for (float& v : m) v = entry(rng);
  for (int i = 0; i < n; ++i) m[i * n + i] += static_cast<float>(n);
  return m;
}

void BM_MatrixInvert(benchmark::State& state) {
  const int n = static_cast<int>(state.range(0));
  const std::vector<float> prepared = prepared_matrix(n);
  std::vector<float> a(prepared.size());
  std::vector<std::uint16_t> pivot(n);
  for (auto _ : state) {
    a = prepared;
    benchmark::DoNotOptimize(
        vtl::matrix_invert(a.data(), pivot.data(), static_cast<std::uint16_t>(n)));
    benchmark::ClobberMemory();
  }
}

void BM_MatrixCopy(benchmark::State& state) {
  const int n = static_cast<int>(state.range(0));
  const std::vector<float> prepared = prepared_matrix(n);
  std::vector<float> a(prepared.size());
  for (auto _ : state) {
    a = prepared;
    benchmark::DoNotOptimize(a.data());
    benchmark::ClobberMemory();
  }
}

}  // namespace

BENCHMARK(BM_MatrixInvert)->Arg(4)->Arg(8)->Arg(16)->Arg(32);
BENCHMARK(BM_MatrixCopy)->Arg(4)->Arg(8)->Arg(16)->Arg(32);
