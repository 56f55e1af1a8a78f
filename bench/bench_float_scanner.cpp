// Signal-file reading: scan_float over typical lines ("0.3012,0.1987,9.8100\n")
// against fscanf("%f") + fgetc over the same bytes, from memory and from a file.
// The "per_number" and "per_line" counters give the time of one number (scan and
// separator) and of one line.

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <memory>
#include <random>
#include <string>

#include "cli/float_scanner.h"

namespace {

constexpr int kLines = 100000;

const std::string& typical_lines() {
  static const std::string text = [] {
    std::mt19937 rng(42);
    std::uniform_real_distribution<double> axis(-1.0, 1.0);
    std::uniform_real_distribution<double> gravity(9.6, 10.0);
    std::string out;
    char line[64];
    for (int i = 0; i < kLines; ++i) {
      std::snprintf(line, sizeof line, "%.4f,%.4f,%.4f\n", axis(rng), axis(rng), gravity(rng));
      out += line;
    }
    return out;
  }();
  return text;
}

void set_counters(benchmark::State& state, int lines) {
  using benchmark::Counter;
  const auto time_per_item = Counter::kIsIterationInvariantRate | Counter::kInvert;
  state.counters["per_number"] = Counter(3.0 * lines, time_per_item);
  state.counters["per_line"] = Counter(lines, time_per_item);
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * typical_lines().size()));
}

int scan_all(vtl::ByteReader& in) {
  float signal[3];
  int lines = 0;
  while (vtl::read_signal_values(in, signal)) {
    benchmark::DoNotOptimize(signal);
    ++lines;
  }
  return lines;
}

int fscanf_all(std::FILE* file) {
  float signal[3];
  for (int lines = 0;; ++lines) {
    for (float& value : signal) {
      if (std::fscanf(file, "%f", &value) != 1) return lines;
      std::fgetc(file);
    }
    benchmark::DoNotOptimize(signal);
  }
}

std::FILE* file_of_lines() {
  std::FILE* file = std::tmpfile();
  std::fwrite(typical_lines().data(), 1, typical_lines().size(), file);
  std::fflush(file);
  return file;
}

void BM_ScanFloatMemory(benchmark::State& state) {
  const std::string& text = typical_lines();
  int lines = 0;
  for (auto _ : state) {
    auto in = std::make_unique<vtl::ByteReader>(reinterpret_cast<const unsigned char*>(text.data()),
                                                text.size());
    lines = scan_all(*in);
  }
  set_counters(state, lines);
}
BENCHMARK(BM_ScanFloatMemory)->Unit(benchmark::kMillisecond);

void BM_FscanfMemory(benchmark::State& state) {
  std::string text = typical_lines();
  int lines = 0;
  for (auto _ : state) {
    std::FILE* file = fmemopen(text.data(), text.size(), "r");
    lines = fscanf_all(file);
    std::fclose(file);
  }
  set_counters(state, lines);
}
BENCHMARK(BM_FscanfMemory)->Unit(benchmark::kMillisecond);

void BM_ScanFloatFile(benchmark::State& state) {
  std::FILE* file = file_of_lines();
  int lines = 0;
  for (auto _ : state) {
    lseek(fileno(file), 0, SEEK_SET);
    auto in = std::make_unique<vtl::ByteReader>(fileno(file));
    lines = scan_all(*in);
  }
  std::fclose(file);
  set_counters(state, lines);
}
BENCHMARK(BM_ScanFloatFile)->Unit(benchmark::kMillisecond);

void BM_FscanfFile(benchmark::State& state) {
  std::FILE* file = file_of_lines();
  int lines = 0;
  for (auto _ : state) {
    std::rewind(file);
    lines = fscanf_all(file);
  }
  std::fclose(file);
  set_counters(state, lines);
}
BENCHMARK(BM_FscanfFile)->Unit(benchmark::kMillisecond);

}  // namespace
