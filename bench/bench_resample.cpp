// resample_buffer from 4096 samples to 256, for each mode.

#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

#include "conditioning/resample.h"

namespace {

void BM_Resample(benchmark::State& state) {
  const auto mode = static_cast<std::uint16_t>(state.range(0));
  std::vector<float> source(4096);
  for (size_t i = 0; i < source.size(); ++i) source[i] = std::sin(0.01f * static_cast<float>(i));
  std::vector<float> out(256);
  for (auto _ : state) {
    vtl::resample_buffer(source.data(), 4096, out.data(), 0, 256, mode);
    benchmark::DoNotOptimize(out.data());
    benchmark::ClobberMemory();
  }
}
BENCHMARK(BM_Resample)->DenseRange(0, 4)->ArgName("mode");

}  // namespace
