#include "cli/signal_pipeline.h"

#include <system_error>

#include "cli/float_scanner.h"

namespace vtl {

SignalPipeline::SignalPipeline(ByteReader& source, std::int32_t count, bool read_ahead,
                               SignalRater rate, std::int32_t rate_from)
    : source_(source),
      remaining_(count),
      rate_(rate),
      unrated_(rate_from),
      skipped_unrated_(rate_from),
      threaded_(read_ahead && count >= kTwoThreadsFrom) {
  if (!threaded_) return;
  try {
    reader_ = std::thread([this] { read_batches(); });
  } catch (const std::system_error&) {
    threaded_ = false;  // no thread to be had: read on the caller's
  }
}

SignalPipeline::~SignalPipeline() {
  if (!threaded_) return;
  batches_.stop_producer();  // wherever the reader is, it stops at its next batch
  reader_.join();
}

bool SignalPipeline::read_and_rate(float* values, std::uint8_t* similarity) {
  if (!read_signal_values(source_, values)) return false;
  if (unrated_ > 0) {
    --unrated_;
  } else if (rate_ != nullptr) {
    rate_(values, similarity);
  }
  return true;
}

void SignalPipeline::read_batches() {
  while (remaining_ > 0) {
    Batch* const batch = batches_.begin_fill();
    if (batch == nullptr) return;
    batch->count = 0;
    batch->failed = false;
    batch->at_end = false;
    while (batch->count < kSignalsPerBatch && remaining_ > 0) {
      if (!read_and_rate(batch->values[batch->count], &batch->similarity[batch->count])) {
        batch->failed = true;
        batch->at_end = source_.at_end();
        remaining_ = 0;
        break;
      }
      ++batch->count;
      --remaining_;
    }
    batches_.publish();
  }
}

bool SignalPipeline::next_from_batches(float* values, std::uint8_t* similarity) {
  for (;;) {
    if (taken_ == nullptr) {
      taken_ = &batches_.take();
      position_ = 0;
    }
    if (position_ < taken_->count) {
      if (skipped_unrated_ > 0) {
        --skipped_unrated_;
      } else if (rate_ != nullptr) {
        *similarity = taken_->similarity[position_];
      }
      const float* taken = taken_->values[position_++];
      values[0] = taken[0];
      values[1] = taken[1];
      values[2] = taken[2];
      return true;
    }
    if (taken_->failed) {
      error_at_end_ = taken_->at_end;
      return false;
    }
    // Hand the batch back and go on with the next one.
    batches_.give_back();
    taken_ = nullptr;
  }
}

bool SignalPipeline::next(float* values, std::uint8_t* similarity) {
  if (threaded_) return next_from_batches(values, similarity);
  if (read_and_rate(values, similarity)) return true;
  error_at_end_ = source_.at_end();
  return false;
}

}  // namespace vtl
