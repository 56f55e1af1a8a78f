// fir_filter on 1024 samples for each filter type. Each timed iteration designs
// the 65 taps, takes the mean, convolves and (types 0 and 3) adds the mean back,
// accumulating into the same dst; dst is cleared once, outside the timing.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <vector>

#include "transform/fir.h"

namespace {

void BM_FirFilter1024(benchmark::State& state) {
  constexpr std::uint16_t n = 1024;
  const auto type = static_cast<vtl::FilterType>(state.range(0));
  std::vector<float> src(n), dst(n, 0.0f);
  for (std::uint16_t t = 0; t < n; ++t) {
    src[t] = 1.0f + std::sin(0.05f * t) + 0.5f * std::sin(2.1f * t);
  }
  float taps[vtl::kFirTaps];
  for (auto _ : state) {
    vtl::fir_filter(src.data(), dst.data(), taps, n, type, 100.0f, 10.0f, 30.0f);
    benchmark::DoNotOptimize(dst.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * n);
}
BENCHMARK(BM_FirFilter1024)->ArgName("type")->Arg(0)->Arg(1)->Arg(2)->Arg(3);

}  // namespace
