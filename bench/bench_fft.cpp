// fft_in_place on a real frame with a zeroed imaginary array, as the spectrum
// routines call it. Each timed iteration includes re-filling the frame (a copy
// of n floats) and zeroing im, since the transform works in place.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <vector>

#include "transform/fft.h"

namespace {

void BM_FftInPlace(benchmark::State& state) {
  const auto n = static_cast<std::uint16_t>(state.range(0));
  std::vector<float> frame(n), re(n), im(n);
  for (std::uint16_t t = 0; t < n; ++t) {
    frame[t] = std::sin(0.1f * t) + 0.25f * std::sin(1.3f * t);
  }
  for (auto _ : state) {
    for (std::uint16_t t = 0; t < n; ++t) {
      re[t] = frame[t];
      im[t] = 0.0f;
    }
    vtl::fft_in_place(re.data(), im.data(), n);
    benchmark::DoNotOptimize(re.data());
    benchmark::DoNotOptimize(im.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * n);
}
BENCHMARK(BM_FftInPlace)->Arg(256)->Arg(512)->Arg(1024)->Arg(2048)->Arg(4096);

}  // namespace
