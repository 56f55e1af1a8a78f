#include "cli/front_state.h"

namespace vtl {

std::int32_t learned_total = 0;
std::int32_t detected_total = 0;
std::int32_t nominal_total = 0;
std::int32_t anomaly_total = 0;

std::int32_t detected_now = 0;
std::int32_t nominal_now = 0;
std::int32_t anomaly_now = 0;

std::int32_t input_arg_index = 0;
std::int32_t learn_first_line = 0;
std::int32_t learn_last_line = 0;
std::int32_t detect_first_line = 0;
std::int32_t detect_last_line = 0;
std::int32_t line_count = 0;
std::int32_t current_line = 0;

std::uint8_t similarity = 0;
float input_buffer[3] = {0.0f, 0.0f, 0.0f};

void reset_front_state() {
  learned_total = detected_total = nominal_total = anomaly_total = 0;
  detected_now = nominal_now = anomaly_now = 0;
  input_arg_index = 0;
  learn_first_line = learn_last_line = detect_first_line = detect_last_line = 0;
  line_count = current_line = 0;
  similarity = 0;
  input_buffer[0] = input_buffer[1] = input_buffer[2] = 0.0f;
}

ReportTotals report_totals() {
  return {learned_total, detected_total, nominal_total, anomaly_total};
}

void set_report_totals(const ReportTotals& totals) {
  learned_total = totals.learned;
  detected_total = totals.detected;
  nominal_total = totals.nominal;
  anomaly_total = totals.anomaly;
}

void count_classification(bool nominal) {
  if (nominal) {
    increment_counter(nominal_total);
    ++nominal_now;
  } else {
    increment_counter(anomaly_total);
    ++anomaly_now;
  }
}

}  // namespace vtl
