#pragma once
// A ring of kSlots batches handed from one producer thread to one consumer
// thread, in order. The producer fills a batch and publishes it; the consumer
// takes it and gives it back once done with it, which frees it for filling
// again. Each side waits (on a futex, not spinning) only when the ring is full
// or empty. Nothing is allocated.

#include <atomic>
#include <cstdint>

namespace vtl {

// The sizes both threads of a long signal file work with: runs shorter than
// kTwoThreadsFrom signals stay on one thread, as a second does not pay off
// there; signals go over kSignalsPerBatch at a time, kBatchesInFlight batches
// at most, which keeps memory flat whatever the file's length.
inline constexpr std::int32_t kTwoThreadsFrom = 4096;
inline constexpr unsigned kSignalsPerBatch = 1024;
inline constexpr unsigned kBatchesInFlight = 4;

template <typename Batch, unsigned kSlots>
class BatchRing {
 public:
  // The next batch to fill, once the consumer has given it back; nullptr
  // after stop_producer().
  Batch* begin_fill() {
    for (;;) {
      const std::uint32_t emptied = emptied_.load(std::memory_order_acquire);
      // Checked after each look at emptied_ and before waiting on what was
      // seen: stop_producer() changes emptied_ after setting the flag, which
      // wakes a wait that began before.
      if (stopped_.load()) return nullptr;
      if (filling_ - emptied < kSlots) return &slots_[filling_ % kSlots];
      emptied_.wait(emptied, std::memory_order_acquire);
    }
  }
  void publish() {
    ++filling_;
    filled_.store(filling_, std::memory_order_release);
    filled_.notify_one();
  }

  // The oldest published batch that was not given back yet.
  Batch& take() {
    for (std::uint32_t filled = filled_.load(std::memory_order_acquire); filled == taking_;
         filled = filled_.load(std::memory_order_acquire)) {
      filled_.wait(filled, std::memory_order_acquire);
    }
    return slots_[taking_ % kSlots];
  }
  void give_back() {
    ++taking_;
    emptied_.store(taking_, std::memory_order_release);
    emptied_.notify_one();
  }

  // Makes the producer's begin_fill() return nullptr from now on, also when it
  // is waiting; the consumer's side is not touched.
  void stop_producer() {
    stopped_.store(true);
    emptied_.fetch_add(1);
    emptied_.notify_one();
  }

 private:
  Batch slots_[kSlots];
  // Batches published and given back, counted from 0; their difference is at
  // most kSlots.
  std::atomic<std::uint32_t> filled_{0};
  std::atomic<std::uint32_t> emptied_{0};
  std::atomic<bool> stopped_{false};
  std::uint32_t filling_ = 0;  // the producer's
  std::uint32_t taking_ = 0;   // the consumer's
};

}  // namespace vtl
