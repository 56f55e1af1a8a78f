#include "cli/signal_pipeline.h"

#include "cli/float_scanner.h"

namespace vtl {

SignalPipeline::SignalPipeline(ByteReader& source, std::int32_t count)
    : source_(source), remaining_(count), threaded_(count >= kThreadedFrom) {
  if (threaded_) reader_ = std::thread([this] { read_batches(); });
}

SignalPipeline::~SignalPipeline() {
  if (!threaded_) return;
  // The reader checks stop_ after each look at emptied_ and before it waits
  // on what it saw; changing emptied_ afterwards wakes a wait that began
  // before.
  stop_.store(true);
  emptied_.fetch_add(1);
  emptied_.notify_one();
  reader_.join();
}

void SignalPipeline::read_batches() {
  for (std::uint32_t number = 0; remaining_ > 0; ++number) {
    // Wait for the batch's previous contents to be taken.
    for (;;) {
      const std::uint32_t emptied = emptied_.load();
      if (stop_.load()) return;
      if (number - emptied < kBatches) break;
      emptied_.wait(emptied);
    }
    Batch& batch = batches_[number % kBatches];
    batch.count = 0;
    batch.failed = false;
    batch.at_end = false;
    while (batch.count < kBatch && remaining_ > 0) {
      if (!read_signal_values(source_, batch.values[batch.count])) {
        batch.failed = true;
        batch.at_end = source_.at_end();
        remaining_ = 0;
        break;
      }
      ++batch.count;
      --remaining_;
    }
    filled_.store(number + 1, std::memory_order_release);
    filled_.notify_one();
  }
}

bool SignalPipeline::next_from_batches(float* values) {
  for (;;) {
    for (std::uint32_t filled = filled_.load(std::memory_order_acquire); filled == taking_;
         filled = filled_.load(std::memory_order_acquire)) {
      filled_.wait(filled, std::memory_order_acquire);
    }
    const Batch& batch = batches_[taking_ % kBatches];
    if (position_ < batch.count) {
      const float* taken = batch.values[position_++];
      values[0] = taken[0];
      values[1] = taken[1];
      values[2] = taken[2];
      return true;
    }
    if (batch.failed) {
      error_at_end_ = batch.at_end;
      return false;
    }
    // Hand the batch back and go on with the next one.
    ++taking_;
    position_ = 0;
    emptied_.store(taking_, std::memory_order_release);
    emptied_.notify_one();
  }
}

bool SignalPipeline::next(float* values) {
  if (threaded_) return next_from_batches(values);
  if (read_signal_values(source_, values)) return true;
  error_at_end_ = source_.at_end();
  return false;
}

}  // namespace vtl
