#include "cli/background_learner.h"

#include <system_error>

#include "engine/interface.h"

namespace vtl {

BackgroundLearner::BackgroundLearner(std::int32_t count) : threaded_(count >= kTwoThreadsFrom) {
  if (!threaded_) return;
  try {
    engine_ = std::thread([this] { learn_batches(); });
  } catch (const std::system_error&) {
    threaded_ = false;  // no thread to be had: learn on the caller's
  }
}

BackgroundLearner::~BackgroundLearner() { finish(); }

void BackgroundLearner::learn_batches() {
  for (;;) {
    const Batch& batch = batches_.take();
    for (unsigned k = 0; k < batch.count; ++k) vtl_anomalydetection_learn(batch.values[k]);
    const bool last = batch.last;
    batches_.give_back();
    if (last) return;
  }
}

// The batch being filled, begun when there is none. The learner never stops
// before the last batch, so a slot always comes free.
BackgroundLearner::Batch& BackgroundLearner::filling() {
  if (filling_ == nullptr) {
    filling_ = batches_.begin_fill();
    filling_->count = 0;
  }
  return *filling_;
}

void BackgroundLearner::hand_over(bool last) {
  filling_->last = last;
  batches_.publish();
  filling_ = nullptr;
}

void BackgroundLearner::learn(const float* values) {
  if (!threaded_) {
    vtl_anomalydetection_learn(values);
    return;
  }
  Batch& batch = filling();
  float* const slot = batch.values[batch.count++];
  slot[0] = values[0];
  slot[1] = values[1];
  slot[2] = values[2];
  if (batch.count == kSignalsPerBatch) hand_over(false);
}

void BackgroundLearner::finish() {
  if (!threaded_) return;
  filling();  // the last batch, empty when the signals filled the one before
  hand_over(true);
  engine_.join();
  threaded_ = false;
}

}  // namespace vtl
