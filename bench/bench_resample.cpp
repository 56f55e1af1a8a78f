// Shrinking 4096 samples to 256 outputs under each of the five resampling rules.

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>

#include "conditioning/resample.h"

namespace {

constexpr std::uint16_t kInputs = 4096;
constexpr std::uint16_t kOutputs = 256;

void BM_ResampleBuffer(benchmark::State& state) {
  const auto mode = static_cast<std::uint16_t>(state.range(0));
  static float src[kInputs];
  static float out[kOutputs];
  for (std::uint16_t i = 0; i < kInputs; ++i) src[i] = std::sin(0.01f * static_cast<float>(i));
  for (auto _ : state) {
    vtl::resample_buffer(src, kInputs, out, 0, kOutputs, mode);
    benchmark::DoNotOptimize(out);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kInputs);
}
BENCHMARK(BM_ResampleBuffer)->DenseRange(0, 4)->ArgName("mode");

}  // namespace
