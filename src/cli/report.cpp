#include "cli/report.h"

#include "cli/front_state.h"
#include "cli/messages.h"
#include "cli/output.h"
#include "engine/interface.h"

namespace vtl {

namespace {

const char* status_text(ReportStatus status) {
  switch (status) {
    case ReportStatus::initialization:
      return "initialization";
    case ReportStatus::id_version:
      return "id_version";
    case ReportStatus::load_knowledge:
      return "load_knowledge";
    case ReportStatus::sensitivity_update:
      return "sensitivity_update";
    case ReportStatus::learning:
      return "learning";
    case ReportStatus::detection:
      return "detection";
  }
  return "";
}

// Each text a literal of its own: a copy of constant size is a few moves.
void entry_status(Output& o, bool nominal) {
  if (nominal) {
    o.text("nominal");
  } else {
    o.text("anomaly");
  }
}

// "\t\t{"signal": S, "line": L" or "... "line": null", shared by every entry.
void entry_start(Output& o, std::int32_t signal, const std::int32_t* line) {
  o.text("\t\t{\"signal\": ");
  o.decimal(signal);
  if (line == nullptr) {
    o.text(", \"line\": null");
  } else {
    o.text(", \"line\": ");
    o.decimal(*line);
  }
}

// A file entry takes a comma unless it is the last; an array entry never does.
void entry_end(Output& o, const std::int32_t* line, bool last) {
  if (line != nullptr && !last) {
    o.text("\"},\n");
  } else {
    o.text("\"}\n");
  }
}

}  // namespace

void print_report_head(ReportStatus status, const float* sensitivity_value, ReportInput input,
                       const char* file_name) {
  Output& o = out();
  o.text("{\n\t\"status\": \"");
  o.text(status_text(status));
  o.text("\",\n\t\"version\": \"");
  o.text(kBuildIdentifier);
  o.text("\",\n");
  if (sensitivity_value != nullptr) {
    o.text("\t\"sensitivity\": ");
    o.fixed2(*sensitivity_value);
    o.text(",\n");
  } else {
    o.text("\t\"sensitivity\": \"null\",\n");
  }
  switch (input) {
    case ReportInput::null:
      o.text("\t\"input\": \"null\",\n");
      break;
    case ReportInput::array:
      o.text("\t\"input\": \"array\",\n");
      break;
    case ReportInput::file:
      o.text("\t\"input\": \"");
      o.text(file_name);
      o.text("\",\n");
      break;
  }
}

void print_results_empty() { out().text("\t\"results\": [],\n"); }
void print_results_open() { out().text("\t\"results\": [\n"); }
void print_results_close() { out().text("\t],\n"); }

void print_learn_entry(std::int32_t signal, const std::int32_t* line, bool last) {
  Output& o = out();
  entry_start(o, signal, line);
  o.text(", \"similarity\": null, \"status\": \"nominal");
  entry_end(o, line, last);
}

void print_detect_entry(std::int32_t signal, const std::int32_t* line,
                        std::uint8_t similarity_value, bool nominal, bool last) {
  Output& o = out();
  entry_start(o, signal, line);
  o.text(", \"similarity\": ");
  o.decimal(similarity_value);
  o.text(", \"status\": \"");
  entry_status(o, nominal);
  entry_end(o, line, last);
}

void print_report_tail(bool detection_numbers, bool totals) {
  Output& o = out();
  if (detection_numbers) {
    o.text("\t\"detection_results\": {\"signals\": ");
    o.decimal(detected_now);
    o.text(", \"nominal\": ");
    o.decimal(nominal_now);
    o.text(", \"anomaly\": ");
    o.decimal(anomaly_now);
    o.text("},\n");
  } else {
    o.text("\t\"detection_results\": {\"signals\": null, \"nominal\": null, \"anomaly\": null},\n");
  }
  if (totals) {
    o.text("\t\"learning_summary\": {\"signals\": ");
    o.decimal(learned_total);
    o.text("},\n\t\"detection_summary\": {\"signals\": ");
    o.decimal(detected_total);
    o.text(", \"nominal\": ");
    o.decimal(nominal_total);
    o.text(", \"anomaly\": ");
    o.decimal(anomaly_total);
    o.text("}\n");
  } else {
    o.text("\t\"learning_summary\": {\"signals\": null},\n");
    o.text("\t\"detection_summary\": {\"signals\": null, \"nominal\": null, \"anomaly\": null}\n");
  }
  o.text("}\n");
}

void print_initialization_report() {
  print_report_head(ReportStatus::initialization, &kDefaultSensitivity, ReportInput::null);
  print_results_empty();
  print_report_tail(false, false);
}

void print_version_report(bool state_loaded) {
  print_report_head(ReportStatus::id_version, state_loaded ? &sensitivity : nullptr,
                    ReportInput::null);
  print_results_empty();
  print_report_tail(false, state_loaded);
}

void print_load_knowledge_report(const char* file_name) {
  print_report_head(ReportStatus::load_knowledge, &sensitivity,
                    file_name != nullptr ? ReportInput::file : ReportInput::null, file_name);
  print_results_empty();
  print_report_tail(false, true);
}

void print_sensitivity_update_report() {
  print_report_head(ReportStatus::sensitivity_update, &sensitivity, ReportInput::null);
  print_results_empty();
  print_report_tail(false, true);
}

}  // namespace vtl
