#include "cli/report.h"

#include <cstdio>

#include "cli/front_state.h"
#include "cli/messages.h"
#include "engine/interface.h"

namespace vtl {

namespace {

const char* status_text(ReportStatus status) {
  switch (status) {
    case ReportStatus::initialization: return "initialization";
    case ReportStatus::id_version: return "id_version";
    case ReportStatus::load_knowledge: return "load_knowledge";
    case ReportStatus::sensitivity_update: return "sensitivity_update";
    case ReportStatus::learning: return "learning";
    case ReportStatus::detection: return "detection";
  }
  return "";
}

const char* entry_status(bool nominal) { return nominal ? "nominal" : "anomaly"; }

}  // namespace

void print_report_head(ReportStatus status, const float* sensitivity_value, ReportInput input,
                       const char* file_name) {
  std::fputs("{\n", stdout);
  std::printf("\t\"status\": \"%s\",\n", status_text(status));
  std::printf("\t\"version\": \"%s\",\n", kBuildIdentifier);
  if (sensitivity_value != nullptr) {
    std::printf("\t\"sensitivity\": %.2f,\n", static_cast<double>(*sensitivity_value));
  } else {
    std::fputs("\t\"sensitivity\": \"null\",\n", stdout);
  }
  switch (input) {
    case ReportInput::null: std::fputs("\t\"input\": \"null\",\n", stdout); break;
    case ReportInput::array: std::fputs("\t\"input\": \"array\",\n", stdout); break;
    case ReportInput::file: std::printf("\t\"input\": \"%s\",\n", file_name); break;
  }
}

void print_results_empty() { std::fputs("\t\"results\": [],\n", stdout); }
void print_results_open() { std::fputs("\t\"results\": [\n", stdout); }
void print_results_close() { std::fputs("\t],\n", stdout); }

void print_learn_entry(std::int32_t signal, const std::int32_t* line, bool last) {
  if (line == nullptr) {
    std::printf(
        "\t\t{\"signal\": %d, \"line\": null, \"similarity\": null, \"status\": \"nominal\"}\n",
        signal);
    return;
  }
  std::printf(
      "\t\t{\"signal\": %d, \"line\": %d, \"similarity\": null, \"status\": \"nominal\"}%s\n",
      signal, *line, last ? "" : ",");
}

void print_detect_entry(std::int32_t signal, const std::int32_t* line, std::uint8_t similarity_value,
                        bool nominal, bool last) {
  if (line == nullptr) {
    std::printf("\t\t{\"signal\": %d, \"line\": null, \"similarity\": %d, \"status\": \"%s\"}\n",
                signal, similarity_value, entry_status(nominal));
    return;
  }
  std::printf("\t\t{\"signal\": %d, \"line\": %d, \"similarity\": %d, \"status\": \"%s\"}%s\n",
              signal, *line, similarity_value, entry_status(nominal), last ? "" : ",");
}

void print_report_tail(bool detection_numbers, bool totals) {
  if (detection_numbers) {
    std::printf("\t\"detection_results\": {\"signals\": %d, \"nominal\": %d, \"anomaly\": %d},\n",
                detected_now, nominal_now, anomaly_now);
  } else {
    std::fputs(
        "\t\"detection_results\": {\"signals\": null, \"nominal\": null, \"anomaly\": null},\n",
        stdout);
  }
  if (totals) {
    std::printf("\t\"learning_summary\": {\"signals\": %d},\n", learned_total);
    std::printf("\t\"detection_summary\": {\"signals\": %d, \"nominal\": %d, \"anomaly\": %d}\n",
                detected_total, nominal_total, anomaly_total);
  } else {
    std::fputs("\t\"learning_summary\": {\"signals\": null},\n", stdout);
    std::fputs(
        "\t\"detection_summary\": {\"signals\": null, \"nominal\": null, \"anomaly\": null}\n",
        stdout);
  }
  std::fputs("}\n", stdout);
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
