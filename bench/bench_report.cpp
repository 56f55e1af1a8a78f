// Report entries: printing the learning and detection entries of a file run
// through the report channel, against snprintf of the same text, both written
// to /dev/null in 64 KiB blocks. The "per_entry" counter gives the time of one
// entry.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>

#include "cli/output.h"
#include "cli/report.h"

namespace {

constexpr std::int32_t kEntries = 100000;

void set_counter(benchmark::State& state) {
  using benchmark::Counter;
  state.counters["per_entry"] =
      Counter(kEntries, Counter::kIsIterationInvariantRate | Counter::kInvert);
}

class NullOutput {
 public:
  NullOutput() : fd_(::open("/dev/null", O_WRONLY)) { vtl::out().redirect(fd_); }
  ~NullOutput() {
    vtl::out().reset();
    vtl::out().redirect(1);
    ::close(fd_);
  }

 private:
  int fd_;
};

void BM_LearnEntries(benchmark::State& state) {
  NullOutput null_output;
  for (auto _ : state) {
    for (std::int32_t i = 1; i <= kEntries; ++i) vtl::print_learn_entry(i, &i, false);
    benchmark::DoNotOptimize(vtl::out().flush());
  }
  set_counter(state);
}
BENCHMARK(BM_LearnEntries);

void BM_DetectEntries(benchmark::State& state) {
  NullOutput null_output;
  for (auto _ : state) {
    for (std::int32_t i = 1; i <= kEntries; ++i) {
      const auto similarity = static_cast<std::uint8_t>(i * 7 % 101);
      vtl::print_detect_entry(i, &i, similarity, similarity > 89, false);
    }
    benchmark::DoNotOptimize(vtl::out().flush());
  }
  set_counter(state);
}
BENCHMARK(BM_DetectEntries);

// The same detection entries formatted by snprintf into a block of the same size.
void BM_DetectEntriesSnprintf(benchmark::State& state) {
  const int fd = ::open("/dev/null", O_WRONLY);
  static char block[1 << 16];
  for (auto _ : state) {
    std::size_t used = 0;
    for (std::int32_t i = 1; i <= kEntries; ++i) {
      if (sizeof block - used < 128) {
        benchmark::DoNotOptimize(::write(fd, block, used));
        used = 0;
      }
      const auto similarity = static_cast<std::uint8_t>(i * 7 % 101);
      used += static_cast<std::size_t>(std::snprintf(
          block + used, sizeof block - used,
          "\t\t{\"signal\": %d, \"line\": %d, \"similarity\": %d, \"status\": \"%s\"},\n", i, i,
          similarity, similarity > 89 ? "nominal" : "anomaly"));
    }
    benchmark::DoNotOptimize(::write(fd, block, used));
  }
  ::close(fd);
  set_counter(state);
}
BENCHMARK(BM_DetectEntriesSnprintf);

}  // namespace
