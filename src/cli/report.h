#pragma once
// The report: one JSON-shaped object printed line by line with fixed texts, in a
// fixed order: open, status, version, sensitivity, input, results (with its
// entries), detection_results, learning_summary, detection_summary, close.
// Entries of the by-file forms are printed while the file is read, so the
// report is printed in three pieces: head, entries, tail.

#include <cstdint>

namespace vtl {

enum class ReportStatus {
  initialization,
  id_version,
  load_knowledge,
  sensitivity_update,
  learning,
  detection,
};

enum class ReportInput { null, array, file };

// open, status, version, sensitivity, input. A null `sensitivity` prints the
// quoted "null"; `file_name` is printed as typed, without escaping.
void print_report_head(ReportStatus status, const float* sensitivity, ReportInput input,
                       const char* file_name = nullptr);

void print_results_empty();
void print_results_open();
void print_results_close();

// Result entries; a null `line` (array forms) never takes a comma, a file entry
// takes one unless it is the last.
void print_learn_entry(std::int32_t signal, const std::int32_t* line, bool last);
void print_detect_entry(std::int32_t signal, const std::int32_t* line, std::uint8_t similarity,
                        bool nominal, bool last);

// detection_results (this invocation's numbers, or null), learning_summary and
// detection_summary (the totals, or null), close.
void print_report_tail(bool detection_numbers, bool totals);

// A whole report without entries: initialization, id_version, load_knowledge,
// sensitivity_update.
void print_initialization_report();
void print_version_report(bool state_loaded);
void print_load_knowledge_report(const char* file_name);
void print_sensitivity_update_report();

}  // namespace vtl
