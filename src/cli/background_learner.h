#pragma once
// Learns a file's signals on a second thread while the caller reads and
// reports the ones after them. What a learning report says about a signal does
// not depend on what the engine makes of it, so only the saved model has to
// wait for the engine: the engine then takes one core, and reading and
// printing the other. Signals are learned in the order they are handed over,
// exactly as calling vtl_anomalydetection_learn on each would. The radii,
// which no learning decision depends on, are left to the caller's thread too:
// the engine journals each batch's radius changes, and the caller replays them
// when the batch comes back to it.

#include <cstdint>
#include <thread>

#include "cli/batch_ring.h"
#include "engine/learning.h"

namespace vtl {

class BackgroundLearner {
 public:
  // Short runs are learned on the caller's thread, at once, as no second
  // thread pays off there.
  explicit BackgroundLearner(std::int32_t count);
  ~BackgroundLearner();  // finish()
  BackgroundLearner(const BackgroundLearner&) = delete;
  BackgroundLearner& operator=(const BackgroundLearner&) = delete;

  // Hands over one signal (three values, copied).
  void learn(const float* values);
  // Returns once every signal handed over is learned; from then on the engine
  // is the caller's again. Signals handed over after it are learned at once.
  void finish();

 private:
  struct Batch {
    float values[kSignalsPerBatch][3];
    unsigned count;  // signals in the batch
    bool last;       // the learner stops after it
    // What learning the batch did to the radii, not yet replayed (at most
    // one change per signal).
    RadiusChange radius_changes[kSignalsPerBatch];
    unsigned radius_change_count = 0;
  };

  void learn_batches();
  Batch& filling();
  void hand_over(bool last);
  void replay_oldest_radii();

  bool threaded_;
  BatchRing<Batch, kBatchesInFlight> batches_;
  Batch* filling_ = nullptr;  // the batch the caller fills
  // The batches handed over whose radius changes were not replayed yet, oldest
  // first, and the radii replayed so far.
  Batch* unreplayed_[kBatchesInFlight] = {};
  unsigned oldest_unreplayed_ = 0;
  unsigned unreplayed_count_ = 0;
  RadiusLedger radii_;
  std::thread engine_;
};

}  // namespace vtl
