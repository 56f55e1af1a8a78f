#pragma once
// Reads the signals of a file, and rates them when asked, on a second thread
// while the caller prints the ones before: scanning and rating on one core,
// reporting on the other. The signals come out in file order, and a reading
// error comes out where reading them one by one would have met it.
//
// The rater runs on the reading thread only, one signal after the other in
// file order, for each signal read from the rating position on. A caller that
// takes every signal, up to the count or to a reading error, therefore sees
// what the rater changes end as if it had rated them itself; one that stops
// earlier leaves the signals read ahead rated too. Either way, the caller
// must not touch what the rater changes until the pipeline is destroyed.

#include <cstdint>
#include <thread>

#include "cli/batch_ring.h"
#include "cli/byte_reader.h"

namespace vtl {

// Rates one signal: the engine's detection call.
using SignalRater = std::uint32_t (*)(const float* values, std::uint8_t* similarity);

class SignalPipeline {
 public:
  // Reads up to count signals from source, ahead on a second thread when
  // read_ahead is set, and rates those from the rate_from'th on (counting
  // from 0) when a rater is given. Short runs are read and rated on the
  // caller's thread, signal by signal, as no second thread pays off there.
  SignalPipeline(ByteReader& source, std::int32_t count, bool read_ahead,
                 SignalRater rate = nullptr, std::int32_t rate_from = 0);
  ~SignalPipeline();  // stops the reading thread, wherever it is
  SignalPipeline(const SignalPipeline&) = delete;
  SignalPipeline& operator=(const SignalPipeline&) = delete;

  // The next signal's three values, and its similarity when it was rated
  // (else similarity is left alone); false when reading it failed, after
  // which ended_in_input_end() tells whether the input ran out.
  bool next(float* values, std::uint8_t* similarity);
  bool ended_in_input_end() const { return error_at_end_; }

 private:
  struct Batch {
    float values[kSignalsPerBatch][3];
    std::uint8_t similarity[kSignalsPerBatch];  // of the rated signals
    unsigned count;                             // signals read into the batch
    bool failed;                                // reading failed after them
    bool at_end;                                // ... at the end of the input
  };

  void read_batches();
  bool next_from_batches(float* values, std::uint8_t* similarity);
  // Reads the next signal and rates it when it is due; false when reading failed.
  bool read_and_rate(float* values, std::uint8_t* similarity);

  ByteReader& source_;
  std::int32_t remaining_;  // signals the reading thread has yet to read
  SignalRater rate_;
  std::int32_t unrated_;          // signals still to read before rating begins
  std::int32_t skipped_unrated_;  // the same, counted by the caller's side
  bool threaded_;
  bool error_at_end_ = false;

  BatchRing<Batch, kBatchesInFlight> batches_;
  const Batch* taken_ = nullptr;  // the batch the caller reads from
  unsigned position_ = 0;         // the next signal in it
  std::thread reader_;
};

}  // namespace vtl
