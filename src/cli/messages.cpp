#include "cli/messages.h"

#include "cli/output.h"

namespace vtl {

namespace {

constexpr const char* kLearnUsage[] = {
    "\tvtl_anomalydetection_learn --file filename --begin line --end line",
    "\tvtl_anomalydetection_learn --file filename",
    ("\tvtl_anomalydetection_learn --array value1 value2 ... valueN (where value1 to valueN are "
     "the values of the input buffer)"),
};

constexpr const char* kDetectUsage[] = {
    "\tvtl_anomalydetection_detect --file filename --begin line --end line",
    "\tvtl_anomalydetection_detect --file filename",
    ("\tvtl_anomalydetection_detect --array value1 value2 ... valueN (where value1 to valueN are "
     "the values of the input buffer)"),
};

// This block spells the command without the second t, as users have always seen it.
constexpr const char* kBareDetectUsage[] = {
    "\tvtl_anomalydetecion_detect --file filename --begin line --end line",
    "\tvtl_anomalydetecion_detect --file filename",
    ("\tvtl_anomalydetecion_detect --array value1 value2 ... valueN (where value1 to valueN are "
     "the values of the input buffer)"),
};

}  // namespace

void print_line(const char* text) { out().line(text); }

void print_documentation_trailer() {
  print_line("Refer to Vantelo Emulator documentation for more details:");
  print_line(kDocumentationAddress);
}

void print_reading_error_trailer() {
  print_line("Refer to Vantelo Emulator documentation for more details:");
  print_line(kAnomalyDetectionDocAddress);
}

void print_general_usage() {
  print_line("Valid functions in Vantelo Emulator call are:");
  print_line("\tvtl_anomalydetection_init");
  print_line("\tvtl_anomalydetection_get_version");
  print_line("\tvtl_anomalydetection_knowledge");
  print_line("\tvtl_anomalydetection_learn");
  print_line("\tvtl_anomalydetection_set_sensitivity");
  print_line("\tvtl_anomalydetection_detect");
}

void print_state_missing() {
  print_line("Error: please run vtl_anomalydetection_init function to continue !");
  print_documentation_trailer();
}

void print_usage_lines(Command command, int count) {
  const char* const* lines = command == Command::learn ? kLearnUsage : kDetectUsage;
  for (int i = 0; i < count && i < 3; ++i) print_line(lines[i]);
}

void print_bare_detect_usage_lines() {
  for (const char* line : kBareDetectUsage) print_line(line);
}

void print_state_write_error() {
  out().text("Error: could not write state file ");
  out().text(kStateFileName);
  out().line(" !");
}

}  // namespace vtl
