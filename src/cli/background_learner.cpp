#include "cli/background_learner.h"

#include <system_error>

#include "engine/interface.h"
#include "engine/learning.h"

namespace vtl {

BackgroundLearner::BackgroundLearner(std::int32_t count) : threaded_(count >= kTwoThreadsFrom) {
  if (!threaded_) return;
  radii_.open();
  try {
    engine_ = std::thread([this] { learn_batches(); });
  } catch (const std::system_error&) {
    threaded_ = false;  // no thread to be had: learn on the caller's
  }
}

BackgroundLearner::~BackgroundLearner() { finish(); }

void BackgroundLearner::learn_batches() {
  for (;;) {
    Batch& batch = batches_.take();
    RadiusJournal journal{batch.radius_changes, kSignalsPerBatch, 0, 0};
    journal_radii(&journal);
    for (unsigned k = 0; k < batch.count; ++k) vtl_anomalydetection_learn(batch.values[k]);
    journal_radii(nullptr);
    batch.radius_change_count = journal.count;
    const bool last = batch.last;
    batches_.give_back();
    if (last) return;
  }
}

// The batch being filled, begun when there is none. The learner never stops
// before the last batch, so a slot always comes free. Batches come back in the
// order they were handed over, so a batch that comes back for filling is the
// oldest one not replayed.
BackgroundLearner::Batch& BackgroundLearner::filling() {
  if (filling_ == nullptr) {
    filling_ = batches_.begin_fill();
    if (unreplayed_count_ == kBatchesInFlight) replay_oldest_radii();
    filling_->count = 0;
  }
  return *filling_;
}

void BackgroundLearner::hand_over(bool last) {
  filling_->last = last;
  unreplayed_[(oldest_unreplayed_ + unreplayed_count_) % kBatchesInFlight] = filling_;
  ++unreplayed_count_;
  batches_.publish();
  filling_ = nullptr;
}

// Only for a batch the learner has given back.
void BackgroundLearner::replay_oldest_radii() {
  Batch& oldest = *unreplayed_[oldest_unreplayed_];
  radii_.apply(oldest.radius_changes, oldest.radius_change_count);
  oldest_unreplayed_ = (oldest_unreplayed_ + 1) % kBatchesInFlight;
  --unreplayed_count_;
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
  while (unreplayed_count_ > 0) replay_oldest_radii();
  radii_.close();
  threaded_ = false;
}

}  // namespace vtl
