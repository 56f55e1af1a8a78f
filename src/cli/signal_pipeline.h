#pragma once
// Reads the signals of a file on a second thread while the caller learns or
// rates the ones before: scanning numbers and running the engine then take
// one core each. The signals come out in file order, and a reading error
// comes out where reading them one by one would have met it.

#include <cstdint>
#include <thread>

#include "cli/batch_ring.h"
#include "cli/byte_reader.h"

namespace vtl {

class SignalPipeline {
 public:
  // Reads up to count signals from source, ahead on a second thread when
  // read_ahead is set. Short runs are read on the caller's thread, signal by
  // signal, as no second thread pays off there.
  SignalPipeline(ByteReader& source, std::int32_t count, bool read_ahead);
  ~SignalPipeline();  // stops the reading thread, wherever it is
  SignalPipeline(const SignalPipeline&) = delete;
  SignalPipeline& operator=(const SignalPipeline&) = delete;

  // The next signal's three values; false when reading it failed, after
  // which ended_in_input_end() tells whether the input ran out.
  bool next(float* values);
  bool ended_in_input_end() const { return error_at_end_; }

 private:
  struct Batch {
    float values[kSignalsPerBatch][3];
    unsigned count;  // signals read into the batch
    bool failed;     // reading failed after them
    bool at_end;     // ... at the end of the input
  };

  void read_batches();
  bool next_from_batches(float* values);

  ByteReader& source_;
  std::int32_t remaining_;  // signals the reading thread has yet to read
  bool threaded_;
  bool error_at_end_ = false;

  BatchRing<Batch, kBatchesInFlight> batches_;
  const Batch* taken_ = nullptr;  // the batch the caller reads from
  unsigned position_ = 0;         // the next signal in it
  std::thread reader_;
};

}  // namespace vtl
