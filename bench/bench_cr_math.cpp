// The correctly rounded cr_acosf, cr_sinf and cr_logf against the host C
// library's acosf, sinf and logf, on the same inputs in the same run. Each
// timed iteration evaluates 4096 fixed pseudo-random inputs; the inputs are
// independent, so this measures throughput.
#include <benchmark/benchmark.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include "base/cr_math.h"

namespace {

constexpr std::size_t kInputs = 4096;

std::vector<float> uniform(float lo, float hi) {
  std::mt19937 gen(12345);
  std::uniform_real_distribution<float> dist(lo, hi);
  std::vector<float> v(kInputs);
  for (float& x : v) x = dist(gen);
  return v;
}

// |x| in [2^10, 2^127] with a uniformly random exponent and sign.
std::vector<float> large_arguments() {
  std::mt19937 gen(12345);
  std::vector<float> v(kInputs);
  for (float& x : v) {
    const auto exponent = static_cast<std::uint32_t>(137 + gen() % 117);
    const auto bits = static_cast<std::uint32_t>(gen());
    x = std::bit_cast<float>((bits & 0x807fffffu) | (exponent << 23));
  }
  return v;
}

// Random bit patterns of positive normal floats.
std::vector<float> positive_normals() {
  std::mt19937 gen(12345);
  std::vector<float> v(kInputs);
  for (float& x : v) {
    x = std::bit_cast<float>(static_cast<std::uint32_t>(0x00800000u + gen() % 0x7f000000u));
  }
  return v;
}

template <float (*F)(float)>
void run(benchmark::State& state, const std::vector<float>& in) {
  for (auto _ : state) {
    for (float x : in) benchmark::DoNotOptimize(F(x));
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(in.size()));
}

float host_acos(float x) { return ::acosf(x); }
float host_sin(float x) { return ::sinf(x); }
float host_log(float x) { return ::logf(x); }

const std::vector<float> kAcosIn = uniform(-1.0f, 1.0f);
const std::vector<float> kSinPiIn = uniform(-3.14159265f, 3.14159265f);
const std::vector<float> kSinHundredIn = uniform(-100.0f, 100.0f);
const std::vector<float> kSinLargeIn = large_arguments();
const std::vector<float> kLogNormalIn = positive_normals();
const std::vector<float> kLogNearOneIn = uniform(0.5f, 2.0f);

void BM_AcosCr(benchmark::State& s) { run<vtl::cr_acosf>(s, kAcosIn); }
void BM_AcosHost(benchmark::State& s) { run<host_acos>(s, kAcosIn); }
void BM_SinPiCr(benchmark::State& s) { run<vtl::cr_sinf>(s, kSinPiIn); }
void BM_SinPiHost(benchmark::State& s) { run<host_sin>(s, kSinPiIn); }
void BM_SinHundredCr(benchmark::State& s) { run<vtl::cr_sinf>(s, kSinHundredIn); }
void BM_SinHundredHost(benchmark::State& s) { run<host_sin>(s, kSinHundredIn); }
void BM_SinLargeCr(benchmark::State& s) { run<vtl::cr_sinf>(s, kSinLargeIn); }
void BM_SinLargeHost(benchmark::State& s) { run<host_sin>(s, kSinLargeIn); }
void BM_LogNormalCr(benchmark::State& s) { run<vtl::cr_logf>(s, kLogNormalIn); }
void BM_LogNormalHost(benchmark::State& s) { run<host_log>(s, kLogNormalIn); }
void BM_LogHalfToTwoCr(benchmark::State& s) { run<vtl::cr_logf>(s, kLogNearOneIn); }
void BM_LogHalfToTwoHost(benchmark::State& s) { run<host_log>(s, kLogNearOneIn); }

BENCHMARK(BM_AcosCr);
BENCHMARK(BM_AcosHost);
BENCHMARK(BM_SinPiCr);
BENCHMARK(BM_SinPiHost);
BENCHMARK(BM_SinHundredCr);
BENCHMARK(BM_SinHundredHost);
BENCHMARK(BM_SinLargeCr);
BENCHMARK(BM_SinLargeHost);
BENCHMARK(BM_LogNormalCr);
BENCHMARK(BM_LogNormalHost);
BENCHMARK(BM_LogHalfToTwoCr);
BENCHMARK(BM_LogHalfToTwoHost);

}  // namespace
