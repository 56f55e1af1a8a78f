#pragma once
// The front end's process-wide variables: the report counters (the four totals
// travel in the state file), the line ranges of the signal-file reader, the
// similarity written by detection and the input buffer handed to the engine.

#include <cstdint>

#include "persist/state_file.h"

namespace vtl {

extern std::int32_t learned_total;   // signals learned over all invocations; gates detection
extern std::int32_t detected_total;  // signals rated over all invocations
extern std::int32_t nominal_total;
extern std::int32_t anomaly_total;

extern std::int32_t detected_now;  // this invocation only
extern std::int32_t nominal_now;
extern std::int32_t anomaly_now;

extern std::int32_t input_arg_index;  // argument that names the input file
extern std::int32_t learn_first_line;
extern std::int32_t learn_last_line;
extern std::int32_t detect_first_line;
extern std::int32_t detect_last_line;
extern std::int32_t line_count;
extern std::int32_t current_line;

extern std::uint8_t similarity;
extern float input_buffer[3];

// Adds 1 with 32-bit two's-complement wrap-around, as the device's counters do;
// a total loaded from a file may already sit at the largest value.
inline void increment_counter(std::int32_t& counter) {
  counter = static_cast<std::int32_t>(static_cast<std::uint32_t>(counter) + 1u);
}

// Every variable above back to its process-start value (for running the front
// end more than once in one process, as the fuzzers do).
void reset_front_state();

// The four totals as the state file carries them, and back.
ReportTotals report_totals();
void set_report_totals(const ReportTotals& totals);

// Counts one rated signal as nominal or anomaly, in the totals and in this
// invocation's numbers.
void count_classification(bool nominal);

}  // namespace vtl
